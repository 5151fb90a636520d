// File: ff_export.h
//
// The one export macro of the library. The shared library is built with hidden
// visibility; only what carries FF_EXPORT (interface classes and the few free
// functions and classes a client calls) is visible to a host.
#pragma once

#if defined(__GNUC__)
#define FF_EXPORT __attribute__((visibility("default")))
#else
#define FF_EXPORT
#endif

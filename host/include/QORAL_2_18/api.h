// File: QORAL_2_18/api.h
//
// Export marker of the platform adapter: what a host calls stays visible in the shared
// library, which is built with hidden visibility.
#pragma once

#define QORAL_API __attribute__((visibility("default")))

// libdebuginfod, loaded when the first fetch needs it rather than with this library. It
// brings some thirty libraries of its own (an HTTP client with its TLS, Kerberos and LDAP
// stacks) that would cost every client several milliseconds at each start, and most
// clients never fetch. Only built with libdebuginfod's header at hand.
#pragma once

#include <elfutils/debuginfod.h>

#include <string>

namespace FF_2_13 {

/// The client library's functions this library calls.
struct DebuginfodLibrary {
    decltype(&debuginfod_begin) begin;
    decltype(&debuginfod_end) end;
    decltype(&debuginfod_set_user_data) setUserData;
    decltype(&debuginfod_get_user_data) getUserData;
    decltype(&debuginfod_set_progressfn) setProgressFunction;
    decltype(&debuginfod_get_url) getUrl;
    decltype(&debuginfod_find_debuginfo) findDebugInfo;
    decltype(&debuginfod_find_executable) findExecutable;
    decltype(&debuginfod_find_source) findSource;
};

/// The functions of the loaded client library (loaded at the first call, once for the
/// process, never unloaded); null when it cannot be loaded, `why` then saying why.
const DebuginfodLibrary* debuginfodLibrary(std::string& why);

}  // namespace FF_2_13

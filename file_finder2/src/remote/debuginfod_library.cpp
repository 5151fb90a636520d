#ifdef FF_HAVE_DEBUGINFOD

#include "remote/debuginfod_library.h"

#include <dlfcn.h>

namespace FF_2_13 {

namespace {

// The client library's soname: the interface this library was built against.
constexpr const char kSoname[] = "libdebuginfod.so.1";

struct Loaded {
    DebuginfodLibrary functions{};
    bool ok = false;
    std::string why;
};

template <class Function>
bool resolve(void* handle, const char* name, Function& function, std::string& why) {
    function = reinterpret_cast<Function>(::dlsym(handle, name));
    if (!function && why.empty()) why = std::string(kSoname) + " has no " + name;
    return function != nullptr;
}

Loaded load() {
    Loaded loaded;
    void* handle = ::dlopen(kSoname, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* error = ::dlerror();
        loaded.why = error ? error : std::string("cannot load ") + kSoname;
        return loaded;
    }
    DebuginfodLibrary& f = loaded.functions;
    std::string& why = loaded.why;
    loaded.ok = resolve(handle, "debuginfod_begin", f.begin, why) &
                resolve(handle, "debuginfod_end", f.end, why) &
                resolve(handle, "debuginfod_set_user_data", f.setUserData, why) &
                resolve(handle, "debuginfod_get_user_data", f.getUserData, why) &
                resolve(handle, "debuginfod_set_progressfn", f.setProgressFunction, why) &
                resolve(handle, "debuginfod_get_url", f.getUrl, why) &
                resolve(handle, "debuginfod_find_debuginfo", f.findDebugInfo, why) &
                resolve(handle, "debuginfod_find_executable", f.findExecutable, why) &
                resolve(handle, "debuginfod_find_source", f.findSource, why);
    return loaded;  // the handle stays open: the functions are used until the process ends
}

}  // namespace

const DebuginfodLibrary* debuginfodLibrary(std::string& why) {
    static const Loaded loaded = load();
    why = loaded.why;
    return loaded.ok ? &loaded.functions : nullptr;
}

}  // namespace FF_2_13

#endif  // FF_HAVE_DEBUGINFOD

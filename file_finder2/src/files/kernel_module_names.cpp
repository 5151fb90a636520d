// Kernel and module names as recorded, and the file names they stand for.
#include "files/kernel_module_names.h"

#include <algorithm>

#include "ff_kernel_image.h"

namespace FF_2_13 {

namespace {

constexpr char kKernelSymbols[] = "kernel.kallsyms";
constexpr char kModule[] = ".ko";
// The forms a module file comes in, in the order they are tried.
const char* const kModuleSuffixes[] = {".ko", ".ko.xz", ".ko.zst", ".ko.gz"};

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// "snd_hda_intel.ko.xz" -> "snd_hda_intel"; "ext4" -> "ext4"; "libc.so.6" -> "".
std::string moduleBaseName(const std::string& name) {
    // A directory, or a mark such as " [guest]": a file's name, not a module's.
    if (name.empty() || name.find_first_of("/ []") != std::string::npos) return std::string();
    for (const char* suffix : kModuleSuffixes)
        if (endsWith(name, suffix)) {
            const std::string base = name.substr(0, name.size() - std::string(suffix).size());
            return base.find('.') == std::string::npos ? base : std::string();
        }
    return name.find('.') == std::string::npos ? name : std::string();
}

}  // namespace

std::string recordedKernelName(const std::string& name) {
    if (name.size() < 3 || name.front() != '[' || name.back() != ']') return name;
    const std::string inside = name.substr(1, name.size() - 2);
    if (inside.find_first_of("[]/ ") != std::string::npos) return name;
    return inside == kKernelSymbols ? VMLINUX : inside;
}

std::vector<std::string> moduleFileNames(const std::string& name) {
    std::vector<std::string> names{name};
    const std::string base = moduleBaseName(name);
    if (base.empty() || base == VMLINUX) return names;
    std::string underscores = base, dashes = base;
    std::replace(underscores.begin(), underscores.end(), '-', '_');
    std::replace(dashes.begin(), dashes.end(), '_', '-');
    for (const std::string& spelling : {base, underscores, dashes})
        for (const char* suffix : kModuleSuffixes) {
            const std::string candidate = spelling + suffix;
            if (std::find(names.begin(), names.end(), candidate) == names.end())
                names.push_back(candidate);
        }
    return names;
}

size_t compressedModuleSuffix(const std::string& path) {
    for (const char* suffix : kModuleSuffixes) {
        const std::string compressed(suffix);
        if (compressed != kModule && endsWith(path, compressed))
            return compressed.size() - std::char_traits<char>::length(kModule);
    }
    return 0;
}

}  // namespace FF_2_13

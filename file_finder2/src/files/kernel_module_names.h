// The names under which a profiler records the kernel and its modules, and the file names
// these stand for. The kernel reports a module by its name ("snd_hda_intel", in brackets
// in some tools: "[snd_hda_intel]"), with "-" and "_" as one; the file on disk may use
// either, and comes as .ko or compressed (.ko.xz, .ko.zst, .ko.gz).
//
//   recordedKernelName("[snd_hda_intel]")    -> "snd_hda_intel"
//   recordedKernelName("[kernel.kallsyms]")  -> "vmlinux"
//   moduleFileNames("snd_hda_intel")         -> snd_hda_intel, snd_hda_intel.ko,
//       snd_hda_intel.ko.xz, ..., snd-hda-intel.ko, snd-hda-intel.ko.xz, ...
#pragma once

#include <string>
#include <vector>

namespace FF_2_13 {

/// The name a profiler recorded, as a file name: "[name]" loses its brackets and the
/// kernel's own "[kernel.kallsyms]" becomes "vmlinux". Other names are returned as given
/// ("vmlinux [guest]" among them: a mark, not brackets around the name).
std::string recordedKernelName(const std::string& name);

/// The file names a kernel module recorded as `name` may have, `name` itself first; just
/// `name` when it is no module name (it has a directory, an extension other than .ko and
/// a compression after it, or it is the kernel's "vmlinux").
std::vector<std::string> moduleFileNames(const std::string& name);

/// The length of the compression's part (".xz": 3) when `path` names a compressed module
/// (".ko.xz", ".ko.zst", ".ko.gz"); 0 otherwise. The unpacked file's name is `path`
/// without it.
size_t compressedModuleSuffix(const std::string& path);

}  // namespace FF_2_13

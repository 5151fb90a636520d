// The names a profiler records for the kernel and its modules, and the file names they
// stand for.
#include "files/kernel_module_names.h"

#include <gtest/gtest.h>

using namespace FF_2_13;

TEST(KernelModuleNames, RecordedNamesLoseTheirBracketsAndKallsymsIsTheKernel) {
    const std::pair<const char*, const char*> cases[] = {
        {"[snd_hda_intel]", "snd_hda_intel"},
        {"[kernel.kallsyms]", "vmlinux"},
        {"snd_hda_intel", "snd_hda_intel"},
        {"vmlinux [guest]", "vmlinux [guest]"},  // a mark after the name, not brackets
        {"[a/b]", "[a/b]"},
        {"[]", "[]"},
        {"[x] [y]", "[x] [y]"},
    };
    for (const auto& c : cases) EXPECT_EQ(recordedKernelName(c.first), c.second) << c.first;
}

TEST(KernelModuleNames, ModuleNamesStandForEverySpellingAndCompression) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(moduleFileNames("snd_hda_intel"),
              (Names{"snd_hda_intel", "snd_hda_intel.ko", "snd_hda_intel.ko.xz",
                     "snd_hda_intel.ko.zst", "snd_hda_intel.ko.gz", "snd-hda-intel.ko",
                     "snd-hda-intel.ko.xz", "snd-hda-intel.ko.zst", "snd-hda-intel.ko.gz"}));
    // Spelled either way, with or without a suffix: the same set, the given name first.
    EXPECT_EQ(moduleFileNames("nf-conntrack.ko.zst").front(), "nf-conntrack.ko.zst");
    EXPECT_EQ(moduleFileNames("nf-conntrack.ko.zst").size(), 8u);
    EXPECT_EQ(moduleFileNames("ext4").size(), 5u);  // nothing to interchange
    const char* notModules[] = {"vmlinux", "libc.so.6",   "/lib/modules/x/ext4.ko",
                                "a.b.ko",  "ext4.ko.bz2", "ext4 [guest]",
                                ""};
    for (const char* name : notModules) EXPECT_EQ(moduleFileNames(name), Names{name}) << name;
}

TEST(KernelModuleNames, CompressedModuleSuffixIsTheCompressionsPart) {
    EXPECT_EQ(compressedModuleSuffix("/m/ext4.ko.xz"), 3u);
    EXPECT_EQ(compressedModuleSuffix("ext4.ko.zst"), 4u);
    EXPECT_EQ(compressedModuleSuffix("ext4.ko.gz"), 3u);
    EXPECT_EQ(compressedModuleSuffix("ext4.ko"), 0u);
    EXPECT_EQ(compressedModuleSuffix("vmlinux.xz"), 0u);
}

// The /proc/PID/maps reader of the file-finder command.
#include "proc_maps.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ffcli;

namespace {

std::vector<std::string> paths(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> result;
    for (const MappedModule& module : parseProcMaps(in)) result.push_back(module.path);
    return result;
}

}  // namespace

TEST(ProcMaps, KeepsFileBackedExecutableMappingsOnceInFirstSeenOrder) {
    const std::string maps =
        "55d0c0a00000-55d0c0a02000 r--p 00000000 08:01 131 /usr/bin/cat\n"
        "55d0c0a02000-55d0c0a06000 r-xp 00002000 08:01 131 /usr/bin/cat\n"
        "55d0c1a00000-55d0c1a21000 rw-p 00000000 00:00 0          [heap]\n"
        "7f3a1c000000-7f3a1c028000 r--p 00000000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f3a1c028000-7f3a1c1bd000 r-xp 00028000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f3a1c300000-7f3a1c301000 r-xp 00000000 08:01 1400       /usr/lib/libm.so.6\n"
        "7f3a1c400000-7f3a1c401000 r-xp 00001000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f3a1c500000-7f3a1c501000 rwxp 00000000 00:00 0\n"
        "7ffd6f5e0000-7ffd6f5e2000 r-xp 00000000 00:00 0          [vdso]\n"
        "ffffffffff600000-ffffffffff601000 --xp 00000000 00:00 0  [vsyscall]\n";
    EXPECT_EQ(paths(maps), (std::vector<std::string>{"/usr/bin/cat", "/usr/lib/libc.so.6",
                                                     "/usr/lib/libm.so.6"}));
}

TEST(ProcMaps, PathsKeepTheirBlanksAndNewlines) {
    EXPECT_EQ(paths("7f00-7f01 r-xp 00000000 08:01 9     /opt/my app/lib x.so\n"),
              std::vector<std::string>{"/opt/my app/lib x.so"});
    // The kernel writes a newline in a name as \012.
    EXPECT_EQ(paths("7f00-7f01 r-xp 00000000 08:01 9 /opt/a\\012b.so\n"),
              std::vector<std::string>{"/opt/a\nb.so"});
}

TEST(ProcMaps, DeletedFilesLoseTheSuffixAndAreMarked) {
    std::istringstream in(
        "7f00-7f01 r-xp 00000000 08:01 9 /usr/lib/libz.so.1.3 (deleted)\n"
        "7f02-7f03 r-xp 00000000 08:01 9 /usr/lib/libz.so.1.3\n"
        "7f04-7f05 r-xp 00000000 08:01 7 /opt/x\n");
    const std::vector<MappedModule> modules = parseProcMaps(in);
    ASSERT_EQ(modules.size(), 2u);
    EXPECT_EQ(modules[0].path, "/usr/lib/libz.so.1.3");
    EXPECT_TRUE(modules[0].deleted);
    EXPECT_FALSE(modules[1].deleted);
}

TEST(ProcMaps, SkipsLinesWithoutTheShapeOfAMapping) {
    EXPECT_TRUE(paths("\n"
                      "garbage\n"
                      "7f00-7f01 r-xp\n"
                      "7f00-7f01 rx 00000000 08:01 9 /a\n"
                      "7f00-7f01 r-xp 00000000 08:01 9 relative/path\n")
                    .empty());
}

TEST(ProcMaps, ReadsThisProcessAndRefusesAMissingOne) {
    std::string error;
    const auto self = readProcMaps("self", error);
    ASSERT_TRUE(self.has_value()) << error;
    EXPECT_FALSE(self->empty());
    // No process has a pid this large (the kernel's maximum is 2^22).
    EXPECT_FALSE(readProcMaps("999999999", error).has_value());
    EXPECT_NE(error.find("/proc/999999999/maps"), std::string::npos);
}

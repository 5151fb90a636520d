// The /proc/PID/maps reader of the file-finder command.
#include "core/proc_maps.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ffcli;

TEST(ProcMaps, GroupsTheMappingsOfEachFileWithAnExecutableOneInFirstSeenOrder) {
    std::istringstream maps(
        "55d0c0a00000-55d0c0a02000 r--p 00000000 08:01 131 /usr/bin/cat\n"
        "55d0c0a02000-55d0c0a06000 r-xp 00002000 08:01 131 /usr/bin/cat\n"
        "55d0c0a06000-55d0c0a08000 rw-p 00006000 08:01 131 /usr/bin/cat\n"
        "55d0c1a00000-55d0c1a21000 rw-p 00000000 00:00 0          [heap]\n"
        "7f3a1c000000-7f3a1c028000 r--p 00000000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f3a1c028000-7f3a1c1bd000 r-xp 00028000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f00-7f01 r-xp 00000000 08:01 9     /opt/my app/lib x.so\n"
        "7f00-7f01 r-xp 00000000 08:01 9 /opt/a\\012b.so\n"  // the kernel's newline
        "7f02-7f03 r-xp 00000000 08:01 9 /usr/lib/libz.so.1.3 (deleted)\n"
        "7f04-7f05 r-xp 00000000 08:01 10 /usr/lib/libz.so.1.3\n"    // loaded again, replaced
        "7f06-7f07 r--p 00000000 08:01 11 /usr/share/locale/data\n"  // not executable
        "7f3a1c500000-7f3a1c501000 rwxp 00000000 00:00 0\n"
        "7ffd6f5e0000-7ffd6f5e2000 r-xp 00000000 00:00 0          [vdso]\n"
        "7ffd6f5d0000-7ffd6f5d2000 r--p 00000000 00:00 0          [vvar]\n"
        "\n"
        "garbage\n"
        "7f00-7f01 r-xp\n"
        "7f00-7f01 rx 00000000 08:01 9 /a\n"
        "7f01-7f00 r-xp 00000000 08:01 9 /backwards\n"
        "7f00-7f01 r-xp 00000000 08:01 9 relative/path\n");
    const std::vector<MappedModule> modules = parseProcMaps(maps);
    std::vector<std::string> paths;
    for (const MappedModule& module : modules) paths.push_back(module.path);
    EXPECT_EQ(paths,
              (std::vector<std::string>{"/usr/bin/cat", "/usr/lib/libc.so.6",
                                        "/opt/my app/lib x.so", "/opt/a\nb.so",
                                        "/usr/lib/libz.so.1.3", "/usr/lib/libz.so.1.3", "[vdso]"}));
    ASSERT_EQ(modules.size(), 7u);
    EXPECT_EQ(modules[0].range(), "55d0c0a00000-55d0c0a08000");
    EXPECT_EQ(modules[0].headerStart, 0x55d0c0a00000u);
    EXPECT_EQ(modules[0].headerEnd, 0x55d0c0a02000u);
    EXPECT_EQ(modules[1].inode, 1311u);
    EXPECT_EQ(modules[1].deviceMinor, 1u);
    EXPECT_TRUE(modules[4].deleted);
    EXPECT_FALSE(modules[5].deleted);
    EXPECT_TRUE(modules[6].vdso);
    EXPECT_FALSE(modules[0].vdso);
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

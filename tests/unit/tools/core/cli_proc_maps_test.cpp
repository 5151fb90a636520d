// The /proc/PID/maps reader of the file-finder command.
#include "core/proc_maps.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ffcli;

TEST(ProcMaps, KeepsFileBackedExecutableMappingsOnceInFirstSeenOrder) {
    std::istringstream maps(
        "55d0c0a00000-55d0c0a02000 r--p 00000000 08:01 131 /usr/bin/cat\n"
        "55d0c0a02000-55d0c0a06000 r-xp 00002000 08:01 131 /usr/bin/cat\n"
        "55d0c1a00000-55d0c1a21000 rw-p 00000000 00:00 0          [heap]\n"
        "7f3a1c028000-7f3a1c1bd000 r-xp 00028000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f00-7f01 r-xp 00000000 08:01 9     /opt/my app/lib x.so\n"
        "7f00-7f01 r-xp 00000000 08:01 9 /opt/a\\012b.so\n"  // the kernel's newline
        "7f00-7f01 r-xp 00000000 08:01 9 /usr/lib/libz.so.1.3 (deleted)\n"
        "7f02-7f03 r-xp 00000000 08:01 9 /usr/lib/libz.so.1.3\n"
        "7f3a1c400000-7f3a1c401000 r-xp 00001000 08:01 1311       /usr/lib/libc.so.6\n"
        "7f3a1c500000-7f3a1c501000 rwxp 00000000 00:00 0\n"
        "7ffd6f5e0000-7ffd6f5e2000 r-xp 00000000 00:00 0          [vdso]\n"
        "\n"
        "garbage\n"
        "7f00-7f01 r-xp\n"
        "7f00-7f01 rx 00000000 08:01 9 /a\n"
        "7f00-7f01 r-xp 00000000 08:01 9 relative/path\n");
    std::vector<std::string> paths;
    std::vector<bool> deleted;
    for (const MappedModule& module : parseProcMaps(maps)) {
        paths.push_back(module.path);
        deleted.push_back(module.deleted);
    }
    EXPECT_EQ(paths, (std::vector<std::string>{"/usr/bin/cat", "/usr/lib/libc.so.6",
                                               "/opt/my app/lib x.so", "/opt/a\nb.so",
                                               "/usr/lib/libz.so.1.3"}));
    EXPECT_EQ(deleted, (std::vector<bool>{false, false, false, false, true}));
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

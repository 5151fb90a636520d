// Repairs of names recorded on another system.
#include <gtest/gtest.h>

#include "files/linux_names.h"

using namespace FF_2_13;

TEST(FixLinuxName, OneLeadingSeparatorMeansALinuxPathWithWrongSeparators) {
    struct Case {
        const char* name;
        bool fixed;
        const char* result;
    };
    const Case cases[] = {
        {"\\usr\\lib\\libc.so", true, "/usr/lib/libc.so"},
        {"/usr\\lib\\libc.so", true, "/usr/lib/libc.so"},
        {"/usr/lib/libc.so", true, "/usr/lib/libc.so"},
        {"\\/x\\y", true, "//x/y"},
        {"\\\\server\\share\\x", false, "\\\\server\\share\\x"},
        {"//server/share", false, "//server/share"},
        {"C:\\dir\\x.pdb", false, "C:\\dir\\x.pdb"},
        {"lib\\x.so", false, "lib\\x.so"},
        {"vmlinux", false, "vmlinux"},
        {"", false, ""},
        {"\\", true, "/"},
    };
    for (const Case& c : cases) {
        std::string name = c.name;
        EXPECT_EQ(c.fixed, fixLinuxName(name)) << c.name;
        EXPECT_EQ(c.result, name) << c.name;
    }
}

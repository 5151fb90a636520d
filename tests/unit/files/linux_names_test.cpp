// Repairs of names recorded on another system.
#include "files/linux_names.h"

#include <gtest/gtest.h>

using namespace FF_2_13;

TEST(FixLinuxName, OneLeadingSeparatorMeansALinuxPathWithWrongSeparators) {
    const std::pair<const char*, const char*> fixed[] = {
        {"\\usr\\lib\\libc.so", "/usr/lib/libc.so"},
        {"/usr\\lib\\libc.so", "/usr/lib/libc.so"},
        {"/usr/lib/libc.so", "/usr/lib/libc.so"},
        {"\\/x\\y", "//x/y"},
        {"\\", "/"},
    };
    for (const auto& [name, result] : fixed) {
        std::string text = name;
        EXPECT_TRUE(fixLinuxName(text)) << name;
        EXPECT_EQ(result, text) << name;
    }
    for (const char* name :
         {"\\\\server\\share\\x", "//server/share", "C:\\dir\\x.pdb", "lib\\x.so", "vmlinux", ""}) {
        std::string text = name;
        EXPECT_FALSE(fixLinuxName(text)) << name;
        EXPECT_EQ(name, text);
    }
}

// The configuration adapter (per-user data directory, catalog registry) and the platform
// adapter's message formatting.
#include <QORAL_2_18/debug.h>
#include <QORAL_2_18/i18n.h>
#include <gtest/gtest.h>
#include <tarnbase2/tarnbase2.h>

#include <cstdlib>
#include <string>
#include <vector>

using namespace QORAL_2_18;

namespace {

std::string format(const char* pattern, const generic::varg_list& args) {
    return i18n::message_t(pattern).as_ustring(args).c_str();
}

generic::argument arg(const char* name, const char* value) {
    return generic::argument(name, types::variant(value));
}

// Sets an environment variable (unsets it for null) and restores it when the test ends.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : m_name(name), m_had(std::getenv(name)) {
        if (m_had) m_old = std::getenv(name);
        set(value);
    }
    ~ScopedEnv() { set(m_had ? m_old.c_str() : nullptr); }

private:
    void set(const char* value) { value ? ::setenv(m_name, value, 1) : ::unsetenv(m_name); }
    const char* m_name;
    bool m_had;
    std::string m_old;
};

}  // namespace

TEST(MessageFormat, PlaceholdersByName) {
    const generic::varg_list args(arg("arg1", "/a/b"), generic::nil, arg("%1", "c d"));
    EXPECT_EQ(26u, args.size());
    EXPECT_EQ("file /a/b and c d", format("file {arg1} and {%1}", args));
    EXPECT_EQ("{arg1} }x{", format("{{arg1}} }}x{{", args));
    // Missing, nil and empty arguments expand to nothing.
    EXPECT_EQ("[][]", format("[{arg2}][{arg1}]", generic::varg_list()));
    EXPECT_EQ("[]", format("[{x}]", generic::varg_list(arg("x", nullptr))));
    // Unbalanced braces stand for themselves.
    EXPECT_EQ("a { b", format("a { b", args));
    EXPECT_EQ("a } b", format("a } b", args));
    EXPECT_EQ("{a/a/b", format("{a{arg1}", args));
    EXPECT_EQ("", format("", args));
}

TEST(MessageCatalog, LooksMessagesUpWithOrWithoutTheMarker) {
    const i18n::catalog_t catalog{{"Known", "text {arg1}"}};
    EXPECT_EQ(1u, catalog.size());
    EXPECT_EQ(11u, catalog.message("Known").size());
    EXPECT_EQ(11u, catalog.message("%Known").size());
    EXPECT_EQ(0u, catalog.message("Unknown").size());
    EXPECT_EQ(0u, catalog.message("").size());
    EXPECT_EQ(0u, catalog.message(nullptr).size());
}

// Each kind's text naming its file is checked through the message manager
// (ff_messages_test); here what only the catalogs themselves show.
TEST(MessageCatalog, BuiltInCatalogsAreThereByName) {
    tarnbase2::restoreBuiltInMessageCatalogs();
    const i18n::catalog_t* common = tarnbase2::getMessageCatalog("file_finder_common");
    ASSERT_NE(nullptr, common);
    const std::string directory = common->message("FileIsDirectory").text().c_str();
    EXPECT_FALSE(directory.empty());
    EXPECT_EQ(std::string::npos, directory.find('{'));
    const i18n::catalog_t* climgr = tarnbase2::getMessageCatalog("file_finder.climgr");
    ASSERT_NE(nullptr, climgr);
    const std::string mismatch = climgr->message("%CannotMatchFileWithChecksumMismatch")
                                     .as_ustring(generic::varg_list(arg("%1", "/cache/libx.so")))
                                     .c_str();
    EXPECT_NE(std::string::npos, mismatch.find("/cache/libx.so")) << mismatch;
    EXPECT_EQ(nullptr, tarnbase2::getMessageCatalog("no such catalog"));
}

TEST(MessageCatalog, HostReplacesAndRemovesCatalogsAndOldPointersStayUsable) {
    const i18n::catalog_t* builtIn = tarnbase2::getMessageCatalog("file_finder_common");
    ASSERT_NE(nullptr, builtIn);
    tarnbase2::registerMessageCatalog("file_finder_common",
                                      i18n::catalog_t{{"FileDoesNotExist", "gone"}});
    const i18n::catalog_t* replaced = tarnbase2::getMessageCatalog("file_finder_common");
    ASSERT_NE(nullptr, replaced);
    EXPECT_EQ(4u, replaced->message("FileDoesNotExist").size());
    EXPECT_LT(4u, builtIn->message("FileDoesNotExist").size()) << "replaced catalog still alive";

    EXPECT_TRUE(tarnbase2::removeMessageCatalog("file_finder_common"));
    EXPECT_FALSE(tarnbase2::removeMessageCatalog("file_finder_common"));
    EXPECT_EQ(nullptr, tarnbase2::getMessageCatalog("file_finder_common"));
    EXPECT_EQ(4u, replaced->message("FileDoesNotExist").size());

    tarnbase2::registerMessageCatalog("mine", i18n::catalog_t());
    const i18n::catalog_t* mine = tarnbase2::getMessageCatalog("mine");
    ASSERT_NE(nullptr, mine);
    EXPECT_EQ(0u, mine->size());
    EXPECT_TRUE(tarnbase2::removeMessageCatalog("mine"));

    tarnbase2::restoreBuiltInMessageCatalogs();
    EXPECT_EQ(builtIn, tarnbase2::getMessageCatalog("file_finder_common"));
}

TEST(ProductLocations, UserDataDirFollowsTheEnvironmentUnlessSet) {
    tarnbase2::IProductLocations* locations = tarnbase2::IProductLocations::get();
    ASSERT_EQ(locations, tarnbase2::IProductLocations::get());
    {
        ScopedEnv xdg("XDG_DATA_HOME", "/xdg/data");
        EXPECT_STREQ("/xdg/data/file_finder2", locations->userDataDir());
    }
    {
        ScopedEnv xdg("XDG_DATA_HOME", "relative/is/ignored");
        ScopedEnv home("HOME", "/home/someone");
        EXPECT_STREQ("/home/someone/.local/share/file_finder2", locations->userDataDir());
    }
    {
        ScopedEnv xdg("XDG_DATA_HOME", nullptr);
        ScopedEnv home("HOME", nullptr);
        ScopedEnv tmp("TMPDIR", "/var/tmp");
        EXPECT_STREQ("/var/tmp", locations->userDataDir());
    }
    const char* before = locations->userDataDir();
    const std::string beforeText = before;
    tarnbase2::IProductLocations::setUserDataDir("/chosen/dir");
    EXPECT_STREQ("/chosen/dir", locations->userDataDir());
    tarnbase2::IProductLocations::setUserDataDir(nullptr);
    EXPECT_EQ(beforeText, locations->userDataDir());
    EXPECT_EQ(beforeText, before) << "texts handed out stay valid";
}

namespace {
std::vector<std::string> g_assertions;
void recordAssertion(const char* text, const char* file, int) {
    g_assertions.push_back(std::string(text) + "@" + file);
}
}  // namespace

TEST(DebugAssertion, ReportsThroughTheInstalledHandlerAndAnswersTheCondition) {
    debug::set_assertion_handler(&recordAssertion);
    int value = 0;
    EXPECT_TRUE(QORAL_ASSERT(&value, "Null pointer"));
    EXPECT_FALSE(QORAL_ASSERT_AT(nullptr, "Null pointer", "file_finder2/src/ff_search_impl"));
    debug::set_assertion_handler(nullptr);
    ASSERT_EQ(1u, g_assertions.size());
    EXPECT_EQ("Null pointer@file_finder2/src/ff_search_impl", g_assertions[0]);
}

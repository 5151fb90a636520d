// The host's message catalogs and the platform adapter's message formatting. (The per-user
// data directory is set by every test that writes a cache, through ScopedUserDataDir.)
#include <QORAL_2_18/i18n.h>
#include <gtest/gtest.h>
#include <tarnbase2/tarnbase2.h>

#include <string>

using namespace QORAL_2_18;

namespace {

std::string format(const char* pattern, const generic::varg_list& args) {
    return i18n::message_t(pattern).as_ustring(args).c_str();
}

generic::argument arg(const char* name, const char* value) {
    return generic::argument(name, types::variant(value));
}

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
    EXPECT_EQ("a } b", format("a } b", args));
    EXPECT_EQ("{a/a/b", format("{a{arg1}", args));
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

    tarnbase2::restoreBuiltInMessageCatalogs();
    EXPECT_EQ(builtIn, tarnbase2::getMessageCatalog("file_finder_common"));
}

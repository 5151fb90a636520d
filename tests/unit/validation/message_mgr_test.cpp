// The message manager and the default message objects over the catalogs.
#include <gtest/gtest.h>

#include <string>

#include "catalog_guard.h"
#include "validation/message_mgr.h"

using namespace FF_2_13;

namespace {

// Every kind's text for `arg` through the manager's objects, in the manager's order; ""
// for a kind that filled nothing. Checks that fillMessage's answer matches the container.
std::vector<std::string> allTexts(IMessageMgr& mgr, const char* arg) {
    std::vector<std::string> texts;
    auto add = [&](auto message) {
        MsgContainer out;
        const unsigned int filled = message->fillMessage(out, arg);
        EXPECT_EQ(filled != 0, out.get() != nullptr);
        texts.push_back(out.get() ? out.get() : "");
    };
    add(mgr.getBinChecksumMismatchMessage());
    add(mgr.getSymChecksumMismatchMessage());
    add(mgr.getSrcChecksumMismatchMessage());
    add(mgr.getModificationTimeMismatchMessage());
    add(mgr.getSizeMismatchMessage());
    add(mgr.getSourceFileUpToDateMessage());
    MsgContainer directory;  // the one kind without an argument
    const unsigned int filled = mgr.getFileIsDirectoryMessage()->fillMessage(directory);
    EXPECT_EQ(filled != 0, directory.get() != nullptr);
    texts.push_back(directory.get() ? directory.get() : "");
    add(mgr.getFileIsNotReadableMessage());
    add(mgr.getFileDoesNotExistMessage());
    add(mgr.getInvalidSymbolFileMessage());
    add(mgr.getFileArchMismatchMessage());
    add(mgr.getFileIsNotABinaryModuleMessage());
    add(mgr.getBinFileReadingErrorMessage());
    add(mgr.getBinFileUnsupportedFormatMessage());
    add(mgr.getFileIsNotRegularMessage());
    return texts;
}

class WordedMyWay : public RefCountImpl<IFileDoesNotExistMessage> {
public:
    unsigned int fillMessage(IMsgContainer& out, const char* arg) override {
        out.put((std::string("no ") + arg).c_str());
        return 1;
    }
};

}  // namespace

TEST(MessageMgr, OneManagerWithAllFifteenKindsFilledFromTheCatalog) {
    fftest::CatalogGuard guard;
    ObjectPtr<IMessageMgr> mgr = IMessageMgr::create();
    EXPECT_EQ(mgr, IMessageMgr::create());
    const std::vector<std::string> texts = allTexts(*mgr, "/lib/libq.so");
    ASSERT_EQ(15u, texts.size());
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_FALSE(texts[i].empty()) << i;
        if (i == 6) continue;  // FileIsDirectory names no file
        EXPECT_NE(std::string::npos, texts[i].find("/lib/libq.so")) << texts[i];
    }
    EXPECT_EQ("The file /lib/libq.so does not exist or is not a regular file.", texts[8]);
    EXPECT_EQ("The file /lib/libq.so is not a regular file.", texts[14]);
    MsgContainer nullArgument;
    EXPECT_EQ(1u, mgr->getFileIsNotReadableMessage()->fillMessage(nullArgument, nullptr));
}

TEST(MessageMgr, WithoutTheCatalogEveryFillAnswersZeroAndLeavesTheContainerEmpty) {
    fftest::CatalogGuard guard(/*removeAll=*/true);
    for (const std::string& text : allTexts(*IMessageMgr::create(), "/lib/libq.so"))
        EXPECT_EQ("", text);
    // An empty catalog, or one without the kind, is the same as none.
    tarnbase2::registerMessageCatalog(VALIDATOR_MESSAGES_CATALOG, QORAL_2_18::i18n::catalog_t());
    for (const std::string& text : allTexts(*IMessageMgr::create(), "x")) EXPECT_EQ("", text);
    tarnbase2::registerMessageCatalog(VALIDATOR_MESSAGES_CATALOG,
                                      QORAL_2_18::i18n::catalog_t{{"SizeMismatch", "size {arg1}"}});
    const std::vector<std::string> texts = allTexts(*IMessageMgr::create(), "x");
    EXPECT_EQ("size x", texts[4]);
    EXPECT_EQ("", texts[0]);
}

TEST(MessageMgr, AClientsOwnObjectIsUsedUntilTheMessagesAreInitialisedAgain) {
    fftest::CatalogGuard guard;
    ObjectPtr<IMessageMgr> mgr = IMessageMgr::create();
    mgr->setFileDoesNotExistMessage(ObjectPtr<IFileDoesNotExistMessage>(new WordedMyWay));
    MsgContainer out;
    mgr->getFileDoesNotExistMessage()->fillMessage(out, "a");
    EXPECT_STREQ("no a", out.get());
    mgr->setSizeMismatchMessage(ObjectPtr<ISizeMismatchMessage>());
    initializeValidationMessages(ObjectPtr<IMessageMgr>());  // nothing to do
    initializeValidationMessages(mgr);
    for (const std::string& text : allTexts(*mgr, "a")) EXPECT_FALSE(text.empty());
    mgr->getFileDoesNotExistMessage()->fillMessage(out, "a");
    EXPECT_STRNE("no a", out.get());
}

TEST(MsgContainer, EmptyTextReadsAsNull) {
    MsgContainer out;
    out.put("text");
    out.put("");
    EXPECT_EQ(nullptr, out.get());
    out.put(nullptr);
    EXPECT_EQ(nullptr, out.get());
}

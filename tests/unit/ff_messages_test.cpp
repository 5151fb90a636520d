// The message manager and the default message objects over the catalogs.
#include <gtest/gtest.h>

#include <string>

#include "catalog_guard.h"
#include "ff_messages_impl.h"

using namespace FF_2_13;

namespace {

// Every kind's text for `arg` through the manager's objects, in the manager's order; ""
// for a kind that filled nothing. Checks that fillMessage's answer matches the container.
std::vector<std::string> allTexts(IMessageMgr& mgr, const char* arg) {
    std::vector<std::string> texts;
    auto add = [&texts](unsigned int filled, MsgContainer& out) {
        EXPECT_EQ(filled != 0, out.get() != nullptr);
        texts.push_back(out.get() ? out.get() : "");
    };
#define FF_FILL(Kind)                                              \
    {                                                              \
        MsgContainer out;                                          \
        add(mgr.get##Kind##Message()->fillMessage(out, arg), out); \
    }
    FF_FILL(BinChecksumMismatch)
    FF_FILL(SymChecksumMismatch)
    FF_FILL(SrcChecksumMismatch)
    FF_FILL(ModificationTimeMismatch)
    FF_FILL(SizeMismatch)
    FF_FILL(SourceFileUpToDate) {
        MsgContainer out;
        add(mgr.getFileIsDirectoryMessage()->fillMessage(out), out);
    }
    FF_FILL(FileIsNotReadable)
    FF_FILL(FileDoesNotExist)
    FF_FILL(InvalidSymbolFile)
    FF_FILL(FileArchMismatch)
    FF_FILL(FileIsNotABinaryModule)
    FF_FILL(BinFileReadingError)
    FF_FILL(BinFileUnsupportedFormat)
    FF_FILL(FileIsNotRegular)
#undef FF_FILL
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
    EXPECT_EQ(nullptr, mgr->getFileDoesNotExistMessageLock());
    EXPECT_EQ(nullptr, mgr->getFileIsNotRegularMessageLock());
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
    EXPECT_EQ(26u, prepareArgumentsList().size());
    EXPECT_TRUE(prepareArgumentsList()[0].is_nil());
}

// The message manager and the default message objects over the catalogs.
#include <gtest/gtest.h>

#include <algorithm>

#include "catalog_guard.h"
#include "validation/message_mgr.h"

using namespace FF_2_13;

namespace {

// Every kind's text for `arg`, in the manager's order; "" for a kind that filled nothing.
// fillMessage's answer must match what it put in the container.
std::vector<std::string> allTexts(IMessageMgr& mgr, const char* arg) {
    std::vector<std::string> texts;
    auto add = [&](auto message, auto... args) {
        MsgContainer out;
        const bool filled = message->fillMessage(out, args...) != 0;
        EXPECT_EQ(filled, out.get() != nullptr);
        texts.push_back(out.get() ? out.get() : "");
    };
    add(mgr.getBinChecksumMismatchMessage(), arg);
    add(mgr.getSymChecksumMismatchMessage(), arg);
    add(mgr.getSrcChecksumMismatchMessage(), arg);
    add(mgr.getModificationTimeMismatchMessage(), arg);
    add(mgr.getSizeMismatchMessage(), arg);
    add(mgr.getSourceFileUpToDateMessage(), arg);
    add(mgr.getFileIsDirectoryMessage());  // the one kind without an argument
    add(mgr.getFileIsNotReadableMessage(), arg);
    add(mgr.getFileDoesNotExistMessage(), arg);
    add(mgr.getInvalidSymbolFileMessage(), arg);
    add(mgr.getFileArchMismatchMessage(), arg);
    add(mgr.getFileIsNotABinaryModuleMessage(), arg);
    add(mgr.getBinFileReadingErrorMessage(), arg);
    add(mgr.getBinFileUnsupportedFormatMessage(), arg);
    add(mgr.getFileIsNotRegularMessage(), arg);
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

TEST(MessageMgr, OneManagerFillsAllFifteenKindsFromTheCatalogOrNothingWithoutIt) {
    fftest::CatalogGuard guard;
    ObjectPtr<IMessageMgr> mgr = IMessageMgr::create();
    EXPECT_EQ(mgr, IMessageMgr::create());
    const std::vector<std::string> texts = allTexts(*mgr, "/lib/libq.so");
    for (size_t i = 0; i < texts.size(); ++i)  // FileIsDirectory (6) names no file
        EXPECT_NE(std::string::npos, texts[i].find(i == 6 ? "" : "/lib/libq.so")) << i << texts[i];
    EXPECT_EQ("The file /lib/libq.so does not exist or is not a regular file.", texts[8]);
    EXPECT_EQ("The file /lib/libq.so is not a regular file.", texts[14]);
    EXPECT_FALSE(texts[6].empty());

    tarnbase2::removeMessageCatalog(VALIDATOR_MESSAGES_CATALOG);
    EXPECT_EQ(std::vector<std::string>(15), allTexts(*mgr, "x"));
    // A catalog without the kind is the same as none.
    tarnbase2::registerMessageCatalog(VALIDATOR_MESSAGES_CATALOG,
                                      QORAL_2_18::i18n::catalog_t{{"SizeMismatch", "size {arg1}"}});
    const std::vector<std::string> one = allTexts(*mgr, "x");
    EXPECT_EQ("size x", one[4]);
    EXPECT_EQ(14, std::count(one.begin(), one.end(), ""));
}

TEST(MessageMgr, AClientsOwnObjectIsUsedUntilTheMessagesAreInitialisedAgain) {
    fftest::CatalogGuard guard;
    ObjectPtr<IMessageMgr> mgr = IMessageMgr::create();
    mgr->setFileDoesNotExistMessage(ObjectPtr<IFileDoesNotExistMessage>(new WordedMyWay));
    EXPECT_EQ("no a", allTexts(*mgr, "a")[8]);
    mgr->setSizeMismatchMessage(ObjectPtr<ISizeMismatchMessage>());
    EXPECT_FALSE(mgr->getSizeMismatchMessage());
    initializeValidationMessages(ObjectPtr<IMessageMgr>());  // nothing to do
    initializeValidationMessages(mgr);
    const std::vector<std::string> texts = allTexts(*mgr, "a");
    EXPECT_EQ(0, std::count(texts.begin(), texts.end(), ""));
    EXPECT_NE("no a", texts[8]);

    MsgContainer out;
    out.put("text");
    out.put("");
    EXPECT_EQ(nullptr, out.get());  // empty text reads as null
}

// The validator of one search: remote checksum stage, built-in checks, client callback
// and the confidence-level policy. (What the built-in checks say is the decorator's test.)
#include "validation/validator.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "callback_doubles.h"
#include "catalog_guard.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;

namespace {

constexpr char kAbcMd5[] = "900150983cd24fb0d6963f7d28e17f72";
constexpr char kRemoteName[] = "/usr/lib/libx.so";

class Retriever : public IFileRetriever {
public:
    bool isLocal(const char*) override { return false; }
    unsigned int retrieve(const char*, const char*) override { return 1; }
    unsigned int retrieveChecksum(const char* remoteName, ObjectPtr<IChecksum>& checksum) override {
        asked.push_back(remoteName);
        if (onFetch) onFetch();
        if (result == 0 && !recorded.empty())
            checksum = IChecksumCalculator::create()->fromString(ctMD5, recorded.c_str());
        return result;
    }
    unsigned int result = 0;
    std::string recorded = kAbcMd5;  // empty: answered, but nothing recorded
    std::vector<std::string> asked;
    std::function<void()> onFetch;
};

// The candidate in the cache directory whose contents do not match the remote record.
class RemoteStage : public ::testing::Test {
protected:
    ObjectPtr<IValidatedFile> fromCache(Validator& validator,
                                        unsigned int step = ssCacheSearchDir) {
        return validator.validateInternal(cached.c_str(), step);
    }
    fftest::TempDir dir;
    const std::string cached = dir.makeFile("cache/libx.so", "not abc");
    fftest::PolicyCallback policy;
    Retriever retriever;
};

}  // namespace

TEST(Validator, PolicyDecidesWhatNeitherTheChecksNorTheClientDecide) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("lib/libx.so");
    fftest::PolicyCallback policy;
    Validator validator(nullptr, policy, scSymbolFiles, "libx.so", nullptr);
    ObjectPtr<IValidFile> high =
        validator.validateInternal(file.c_str(), ssSystemDirs)->validFile();
    ASSERT_TRUE(high);
    EXPECT_EQ(cfPolicyHigh, high->confidence());
    EXPECT_EQ(ssSystemDirs, high->searchStep());
    EXPECT_EQ(scSymbolFiles, policy.lastCategory);
    policy.answer = 1;
    EXPECT_EQ(cfPolicyLow, validator.validate(file.c_str())->validFile()->confidence());

    policy.answer = 2;
    ObjectPtr<IInvalidFile> rejected =
        validator.validate((dir / "lib/./libx.so").c_str())->invalidFile();
    ASSERT_TRUE(rejected);
    EXPECT_EQ(svUnspecified, rejected->severity());
    EXPECT_STREQ("", rejected->errorMessage());
    EXPECT_EQ(ssAskUser, rejected->searchStep());
    EXPECT_EQ(file, rejected->name()) << "names are kept in canonical form";
    ObjectPtr<IValidFile> forced = rejected->forceTreatAsValid();
    EXPECT_EQ(cfAccepted, forced->confidence());
    EXPECT_EQ(ssAskUser, forced->searchStep());
    EXPECT_EQ((std::vector<unsigned int>{ssSystemDirs, ssAskUser, ssAskUser}), policy.asked);

    // The client's verdict and the checks' reach the result without the policy.
    fftest::ValidatorCallback client(vrInvalid);
    Validator withClient(&client, policy, scBinaryFiles, "libx.so", nullptr);
    EXPECT_EQ(svMild, withClient.validateInternal(file.c_str(), 2)->invalidFile()->severity());
    EXPECT_EQ(svHard, withClient.validate((dir / "gone.so").c_str())->invalidFile()->severity());
    EXPECT_STREQ("", withClient.validate(nullptr)->invalidFile()->name());
    EXPECT_EQ(1u, client.asked.size());
    EXPECT_EQ(3u, policy.asked.size());
}

TEST_F(RemoteStage, MismatchRejectsWithoutFurtherChecksAndFetchesOnce) {
    fftest::ValidatorCallback client(vrInvalid);
    Validator validator(&client, policy, scBinaryFiles, kRemoteName, &retriever);
    ObjectPtr<IInvalidFile> rejected = fromCache(validator)->invalidFile();
    ASSERT_TRUE(rejected);
    EXPECT_EQ(svHard, rejected->severity());
    EXPECT_EQ("The file " + cached + " does not match the checksum recorded on the remote system.",
              rejected->errorMessage());
    EXPECT_TRUE(client.asked.empty());
    // Only the low 16 bits of the step select the stage; the result carries those.
    EXPECT_EQ(ssCacheSearchDir,
              fromCache(validator, 0x30000u | ssCacheSearchDir)->invalidFile()->searchStep());
    EXPECT_EQ((std::vector<std::string>{kRemoteName}), retriever.asked)
        << "kept for the validator's life";

    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_STREQ("%CannotMatchFileWithChecksumMismatch",
                 fromCache(validator)->invalidFile()->errorMessage());
}

TEST_F(RemoteStage, MatchStillRunsTheBuiltInChecksAndThePolicySeesTheWholeStep) {
    const std::string abc = dir.makeFile("cache/abc.so", "abc");
    retriever.recorded = "900150983CD24FB0D6963F7D28E17F72";  // an upper-case record matches
    Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &retriever);
    const unsigned int step = 0x30000u | ssCacheSearchDir;
    ObjectPtr<IValidFile> valid = validator.validateInternal(abc.c_str(), step)->validFile();
    ASSERT_TRUE(valid);
    EXPECT_EQ(cfPolicyHigh, valid->confidence()) << "a match alone does not accept";
    EXPECT_EQ(ssCacheSearchDir, valid->searchStep());
    EXPECT_EQ(step, policy.asked.back());

    // Root may read anything; the unreadable case runs as an ordinary user.
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(abc.c_str(), 0));
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  Retriever fresh;
                  Validator v(nullptr, policy, scBinaryFiles, kRemoteName, &fresh);
                  ObjectPtr<IInvalidFile> no =
                      v.validateInternal(abc.c_str(), ssCacheSearchDir)->invalidFile();
                  return no && std::string(no->errorMessage()).find("cannot be opened") !=
                                   std::string::npos;
              }));
}

TEST_F(RemoteStage, OnlyTheCacheStepOfAnAbsoluteOrKernelNameAsksTheRetriever) {
    Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &retriever);
    for (unsigned int step : {1u, 4u, 64u, 256u, 0x10000u})
        EXPECT_EQ(step & 0xffffu, fromCache(validator, step)->validFile()->searchStep());
    EXPECT_EQ((std::vector<unsigned int>{1, 4, 64, 256, 0x10000}), policy.asked);
    EXPECT_TRUE(retriever.asked.empty());
    Validator withoutRetriever(nullptr, policy, scBinaryFiles, kRemoteName, nullptr);
    EXPECT_TRUE(fromCache(withoutRetriever)->validFile());

    const std::pair<const char*, const char*> asked[] = {
        {"lib/libx.so", nullptr},   {"C:\\x\\libx.dll", nullptr},         {"vmlinux", "vmlinux"},
        {kRemoteName, kRemoteName}, {"\\usr\\lib\\libx.so", kRemoteName},
    };
    for (const auto& [requested, remote] : asked) {
        Retriever own;
        own.recorded.clear();
        Validator v(nullptr, policy, scBinaryFiles, requested, &own);
        EXPECT_TRUE(fromCache(v)->validFile());
        EXPECT_EQ(remote ? std::vector<std::string>{remote} : std::vector<std::string>(),
                  own.asked);
    }
}

TEST_F(RemoteStage, FailedFetchIsRetriedWithTheNextCacheCandidate) {
    retriever.result = 5;
    Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &retriever);
    EXPECT_TRUE(fromCache(validator)->validFile());
    retriever.result = 0;
    retriever.recorded.clear();
    EXPECT_TRUE(fromCache(validator)->validFile());
    retriever.recorded = kAbcMd5;
    EXPECT_TRUE(fromCache(validator)->invalidFile());
    EXPECT_EQ(3u, retriever.asked.size());
}

TEST_F(RemoteStage, FileThatVanishesBetweenTheChecksIsRejectedWithAMessage) {
    retriever.onFetch = [this] { ::unlink(cached.c_str()); };
    Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &retriever);
    ObjectPtr<IInvalidFile> rejected = fromCache(validator)->invalidFile();
    ASSERT_TRUE(rejected);
    EXPECT_NE(std::string::npos, std::string(rejected->errorMessage()).find("does not exist"));
}

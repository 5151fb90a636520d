// The validator of one search: remote checksum stage, built-in checks, client callback and
// the confidence-level policy. (What the built-in checks say is the decorator's test.)
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

// "valid <confidence> step <step>" or "invalid <severity> step <step>: <message>".
std::string verdict(const ObjectPtr<IValidatedFile>& file) {
    if (ObjectPtr<IValidFile> valid = file->validFile())
        return "valid " + std::to_string(valid->confidence()) + " step " +
               std::to_string(valid->searchStep());
    ObjectPtr<IInvalidFile> invalid = file->invalidFile();
    return "invalid " + std::to_string(invalid->severity()) + " step " +
           std::to_string(invalid->searchStep()) + ": " + invalid->errorMessage();
}

class Retriever : public IFileRetriever {
public:
    bool isLocal(const char*) override { return false; }
    unsigned int retrieve(const char*, const char*) override { return 1; }
    unsigned int retrieveChecksum(const char* remoteName, ObjectPtr<IChecksum>& checksum) override {
        asked.push_back(remoteName);
        if (onFetch) onFetch();
        // Filled even when failing: what a failed fetch leaves must not count.
        if (!recorded.empty())
            checksum = IChecksumCalculator::create()->fromString(ctMD5, recorded.c_str());
        return result;
    }
    unsigned int result = 0;
    std::string recorded = kAbcMd5;  // empty: answered, but nothing recorded
    std::vector<std::string> asked;
    std::function<void()> onFetch;
};

// The candidate in the cache directory, whose contents do not match the remote record.
class RemoteStage : public ::testing::Test {
protected:
    std::string fromCache(Validator& validator, unsigned int step = ssCacheSearchDir) {
        return verdict(validator.validateInternal(cached.c_str(), step));
    }
    fftest::TempDir dir;
    const std::string cached = dir.makeFile("cache/libx.so", "not abc");
    fftest::PolicyCallback policy;
    Retriever retriever;
    const std::string mismatch = "invalid 0 step 128: The file " + cached +
                                 " does not match the checksum recorded on the remote system.";
};

}  // namespace

TEST(Validator, PolicyDecidesWhatNeitherTheChecksNorTheClientDecide) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("lib/libx.so");
    fftest::PolicyCallback policy;
    Validator validator(nullptr, policy, scSymbolFiles, "libx.so", nullptr);
    EXPECT_EQ("valid 1 step 32", verdict(validator.validateInternal(file.c_str(), ssSystemDirs)));
    EXPECT_EQ(scSymbolFiles, policy.lastCategory);
    policy.answer = 1;
    EXPECT_EQ("valid 2 step 64", verdict(validator.validate(file.c_str())));
    policy.answer = 2;
    ObjectPtr<IInvalidFile> rejected =
        validator.validate((dir / "lib/./libx.so").c_str())->invalidFile();
    ASSERT_TRUE(rejected);
    EXPECT_EQ("invalid 2 step 64: ", verdict(validator.validate(file.c_str())));
    EXPECT_EQ(file, rejected->name()) << "names are kept in canonical form";
    ObjectPtr<IValidFile> forced = rejected->forceTreatAsValid();
    EXPECT_EQ(cfAccepted, forced->confidence());
    EXPECT_EQ(ssAskUser, forced->searchStep());
    EXPECT_EQ((std::vector<unsigned int>{ssSystemDirs, ssAskUser, ssAskUser, ssAskUser}),
              policy.asked);

    // The client's verdict and the checks' reach the result without the policy.
    fftest::ValidatorCallback client(vrInvalid);
    Validator withClient(&client, policy, scBinaryFiles, "libx.so", nullptr);
    EXPECT_EQ("invalid 1 step 2: rejected by test",
              verdict(withClient.validateInternal(file.c_str(), 2)));
    EXPECT_EQ(0u,
              verdict(withClient.validate((dir / "gone.so").c_str())).find("invalid 0 step 64: "));
    EXPECT_STREQ("", withClient.validate(nullptr)->invalidFile()->name());
    EXPECT_EQ(1u, client.asked.size());
    EXPECT_EQ(4u, policy.asked.size());
}

TEST_F(RemoteStage, MismatchRejectsWithoutFurtherChecksAndFetchesOnce) {
    fftest::ValidatorCallback client(vrInvalid);
    Validator validator(&client, policy, scBinaryFiles, kRemoteName, &retriever);
    EXPECT_EQ(mismatch, fromCache(validator));
    // Only the low 16 bits of the step select the stage; the result carries those.
    EXPECT_EQ(mismatch, fromCache(validator, 0x30000u | ssCacheSearchDir));
    EXPECT_TRUE(client.asked.empty());
    EXPECT_EQ((std::vector<std::string>{kRemoteName}), retriever.asked)
        << "kept for the validator's life";
    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("invalid 0 step 128: %CannotMatchFileWithChecksumMismatch", fromCache(validator));
}

TEST_F(RemoteStage, MatchStillRunsTheBuiltInChecksAndThePolicySeesTheWholeStep) {
    const std::string abc = dir.makeFile("cache/abc.so", "abc");
    retriever.recorded = "900150983CD24FB0D6963F7D28E17F72";  // an upper-case record matches
    Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &retriever);
    EXPECT_EQ("valid 1 step 128",
              verdict(validator.validateInternal(abc.c_str(), 0x30000u | ssCacheSearchDir)))
        << "a match alone does not accept";
    EXPECT_EQ(0x30000u | ssCacheSearchDir, policy.asked.back());

    // Root may read anything; the unreadable case runs as an ordinary user.
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(abc.c_str(), 0));
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  Retriever fresh;
                  Validator v(nullptr, policy, scBinaryFiles, kRemoteName, &fresh);
                  return verdict(v.validateInternal(abc.c_str(), ssCacheSearchDir))
                             .find("cannot be opened") != std::string::npos;
              }));
}

TEST_F(RemoteStage, OnlyTheCacheStepOfAnAbsoluteOrKernelNameAsksTheRetriever) {
    Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &retriever);
    for (unsigned int step : {1u, 4u, 64u, 256u, 0x10000u})
        EXPECT_EQ("valid 1 step " + std::to_string(step & 0xffffu), fromCache(validator, step));
    EXPECT_EQ((std::vector<unsigned int>{1, 4, 64, 256, 0x10000}), policy.asked);
    EXPECT_TRUE(retriever.asked.empty());
    Validator withoutRetriever(nullptr, policy, scBinaryFiles, kRemoteName, nullptr);
    EXPECT_EQ("valid 1 step 128", fromCache(withoutRetriever));

    const std::pair<const char*, const char*> asked[] = {
        {"lib/libx.so", nullptr},   {"C:\\x\\libx.dll", nullptr},         {"vmlinux", "vmlinux"},
        {kRemoteName, kRemoteName}, {"\\usr\\lib\\libx.so", kRemoteName},
    };
    for (const auto& [requested, remote] : asked) {
        Retriever own;
        own.recorded.clear();
        Validator v(nullptr, policy, scBinaryFiles, requested, &own);
        fromCache(v);
        EXPECT_EQ(remote ? std::vector<std::string>{remote} : std::vector<std::string>(),
                  own.asked);
    }
}

TEST_F(RemoteStage, AFailedFetchIsIgnoredAndAskedAgainUnlessTheSearchAsksOnce) {
    for (const bool once : {false, true}) {
        SCOPED_TRACE(once ? "asked once per search" : "asked at each candidate");
        Retriever failing;
        failing.result = 5;  // fills the holder all the same
        Validator validator(nullptr, policy, scBinaryFiles, kRemoteName, &failing, once);
        EXPECT_EQ("valid 1 step 128", fromCache(validator));
        failing.result = 0;
        EXPECT_EQ(once ? "valid 1 step 128" : mismatch, fromCache(validator));
        EXPECT_EQ(once ? 1u : 2u, failing.asked.size());
    }

    Retriever vanishing;
    vanishing.onFetch = [this] { ::unlink(cached.c_str()); };
    Validator v(nullptr, policy, scBinaryFiles, kRemoteName, &vanishing);
    EXPECT_NE(std::string::npos, fromCache(v).find("does not exist"));
}

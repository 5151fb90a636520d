// Answering many requests through the file locator seam, with a locator written here.
#include "core/resolver.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <functional>
#include <stdexcept>

#include "core/exit_codes.h"
#include "temp_dir.h"

using namespace ffcli;
using FF_2_13::IFileIdentity;
using FF_2_13::ObjectPtr;

namespace {

// An ELF file's identity as a test says.
class FakeIdentity : public FF_2_13::RefCountImpl<IFileIdentity> {
public:
    explicit FakeIdentity(std::string buildId) : id(std::move(buildId)) {}
    FF_2_13::identity_read_status_t status() const override { return FF_2_13::irsElf; }
    const char* error() const override { return ""; }
    const char* buildId() const override { return id.c_str(); }
    const char* debugLink() const override { return link.c_str(); }
    bool hasDebugLinkCrc() const override { return !link.empty(); }
    unsigned int debugLinkCrc() const override { return 0; }
    int elfClass() const override { return 0; }
    int machine() const override { return 0; }
    bool hasDebugInfo() const override { return debugInfo; }
    const char* target() const override { return ""; }

    std::string id, link;
    bool debugInfo = false;
};

// Answers from a function, and remembers what it was asked.
class ScriptedLocator : public FileLocator {
public:
    explicit ScriptedLocator(std::function<Outcome(const Request&)> script)
        : m_script(std::move(script)) {}
    Outcome locate(const Request& request) override {
        asked.push_back(request);
        return m_script(request);
    }
    std::vector<Request> asked;

private:
    std::function<Outcome(const Request&)> m_script;
};

Outcome foundAt(const std::string& path) {
    Outcome outcome;
    outcome.path = path;
    outcome.step = FF_2_13::ssSystemDirs;
    return outcome;
}

Outcome rejected(const std::string& path) {
    Outcome outcome;
    outcome.rejected.push_back({path, "%FileNotFound", FF_2_13::svHard, FF_2_13::ssSystemDirs});
    outcome.tried.push_back({path, FF_2_13::ssSystemDirs, FF_2_13::coRefused, "%FileNotFound"});
    return outcome;
}

Request binary(const std::string& name) {
    Request request;
    request.name = name;
    return request;
}

}  // namespace

TEST(Resolver, AnswersEachDistinctRequestOnceAndGoesOnAfterAFailure) {
    ScriptedLocator locator([](const Request& request) -> Outcome {
        if (request.name == "/unlistable") throw std::runtime_error("cannot list /srv/x");
        return request.name == "/a" ? foundAt("/a") : rejected("/usr/lib" + request.name);
    });
    std::vector<std::pair<std::size_t, std::size_t>> progress;
    Resolver resolver(
        locator, [&](std::size_t done, std::size_t total) { progress.emplace_back(done, total); });
    Request sym = binary("/a");
    sym.kind = RequestKind::kSymbol;
    sym.binary = "/a";
    const std::vector<ResolveRow> rows = resolver.resolveRequests(
        {binary("/a"), binary("/unlistable"), binary("/a"), sym, binary("/b")});
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(locator.asked.size(), 4u);
    EXPECT_TRUE(rows[0].outcome.found());
    EXPECT_EQ(rows[1].outcome.error, "cannot list /srv/x");
    EXPECT_EQ(rows[2].request.kind, RequestKind::kSymbol);  // not a repeat: another kind
    EXPECT_EQ(rows[3].outcome.rejected.at(0).path, "/usr/lib/b");
    EXPECT_EQ(exitCodeFor(rows), kExitNotFound);
    EXPECT_EQ(exitCodeFor({rows[0]}), kExitAllFound);
    EXPECT_EQ(progress.back(), std::make_pair(std::size_t{4}, std::size_t{4}));
}

TEST(Resolver, SymbolFileNamesComeBuildIdFirst) {
    FakeIdentity identity("3a9f00c1d2");
    identity.link = "app.debug";
    identity.debugInfo = true;
    EXPECT_EQ(symbolFileNames(identity, "/opt/app", true),
              (std::vector<std::string>{".build-id/3a/9f00c1d2.debug", "app.debug", "/opt/app"}));
    EXPECT_EQ(symbolFileNames(identity, "/opt/app", false).size(), 2u);
    EXPECT_TRUE(symbolFileNames(FakeIdentity("3a"), "/opt/app", true).empty());
    EXPECT_EQ(buildIdBinaryName("3a9f00c1d2"), ".build-id/3a/9f00c1d2");
}

TEST(Resolver, LooksForTheSymbolFileOfEachModuleUntilANameFindsIt) {
    const std::string self = boost::filesystem::read_symlink("/proc/self/exe").string();
    const ObjectPtr<IFileIdentity> selfIdentity = IFileIdentity::readFile(self.c_str());
    const std::vector<std::string> names = symbolFileNames(*selfIdentity, self, true);
    if (names.size() < 2) GTEST_SKIP() << "this test program was built without a build id or -g";
    fftest::TempDir dir;
    const std::string script = dir.makeFile("run.sh", "#!/bin/sh\n");
    const ObjectPtr<IFileIdentity> loaded(new FakeIdentity("aabbcc"));

    // Only the last name finds a file; the modules under /gone are not found at all.
    ScriptedLocator locator([&](const Request& request) -> Outcome {
        if (request.kind == RequestKind::kBinary)
            return request.name.rfind("/gone", 0) == 0 ? rejected(request.name)
                                                       : foundAt(request.name);
        return request.name == names.back() ? foundAt(self)
                                            : rejected("/usr/lib/debug/" + request.name);
    });
    Resolver resolver(locator);
    const ModuleLoad deleted{"1000-2000", LoadState::kDeleted, "aabbcc"};
    const std::vector<ResolveRow> rows =
        resolver.resolveModules({{self, {}, {}, false},
                                 {"/gone", {}, {}, false},
                                 {self, {}, {}, false},
                                 {script, {}, {}, false},
                                 {"/gone2", loaded, deleted, false},
                                 {"[vdso]", loaded, {}, true}});
    ASSERT_EQ(rows.size(), 8u);
    EXPECT_EQ(rows[0].request.name, self);
    const ResolveRow& sym = rows[1];
    EXPECT_EQ(sym.request.kind, RequestKind::kSymbol);
    EXPECT_EQ(sym.request.binary, self);
    EXPECT_EQ(sym.request.name, names.back());
    EXPECT_EQ(sym.otherNames, std::vector<std::string>(names.begin(), names.end() - 1));
    EXPECT_EQ(sym.outcome.path, self);
    EXPECT_EQ(sym.outcome.rejected.size(), names.size() - 1);
    EXPECT_EQ(sym.outcome.tried.size(), names.size() - 1);  // every name's, for the reason
    EXPECT_EQ(rows[2].request.name, "/gone");               // and no symbol row for it
    EXPECT_EQ(rows[3].request.name, script);
    EXPECT_EQ(rows[4].outcome.error, "the binary is not an ELF file, so it names no symbol file");
    // A deleted module: its binary held to what was loaded, its symbol file still looked
    // for by the loaded build-id, beside the path it was loaded from.
    EXPECT_EQ(rows[5].request.buildId(), "aabbcc");
    EXPECT_EQ(rows[5].load->state, LoadState::kDeleted);
    EXPECT_EQ(rows[6].request.name, ".build-id/aa/bbcc.debug");
    EXPECT_EQ(rows[6].request.binary, "/gone2");
    EXPECT_EQ(rows[7].request.binary, "[vdso]");  // no binary row before it
    EXPECT_EQ(exitCodeFor(rows), kExitNotFound);
}

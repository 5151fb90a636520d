// Fetching from debuginfod servers: the library's debuginfod source and the command's
// --debuginfod, against Debian's debuginfod run on 127.0.0.1 over objects built here, and
// against a fake server for the answers a real one does not give (none at all, damaged
// files, the wrong build). The client cache is always the test's own directory.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "file_finder.h"
#include "temp_dir.h"

using namespace FF_2_13;
using fftest::readFile;

namespace {

std::string shellQuoted(const std::string& word) {
    std::string text = "'";
    for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

bool haveDebuginfod() {
    return run("command -v debuginfod >/dev/null 2>&1");
}

// A socket listening on 127.0.0.1 on a port of the system's choice.
int listenOnFreePort(int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(fd, 16) != 0 || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size))
        throw std::runtime_error("cannot listen on 127.0.0.1");
    port = ntohs(address.sin_port);
    return fd;
}

// The status line of GET `path` on 127.0.0.1:`port`; "" when nothing answers.
std::string statusOf(int port, const std::string& path) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string answer;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        const std::string request = "GET " + path + " HTTP/1.0\r\n\r\n";
        if (::write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
            char buffer[256];
            const ssize_t got = ::read(fd, buffer, sizeof buffer);
            if (got > 0) answer.assign(buffer, static_cast<size_t>(got));
        }
    }
    ::close(fd);
    return answer.substr(0, answer.find('\r'));
}

// A program built here: its source, and on the server its executable without debug
// information and the debug file split off; the client has the executable only.
struct Build {
    std::string source, executable, debugFile, stripped, buildId;
};

Build buildProgram(const fftest::TempDir& dir, const std::string& name, int variant) {
    Build build;
    build.source = dir.makeFile("src/" + name + ".c",
                                "int main(void) { return " + std::to_string(variant) + "; }\n");
    const std::string built = dir / ("build/" + name);
    build.executable = dir / ("server/" + name);
    build.debugFile = dir / ("server/" + name + ".debug");
    build.stripped = dir / ("client/" + name);
    for (const char* part : {"build", "server", "client"}) dir.makeDir(part);
    if (!run("gcc -g -Wl,--build-id -o " + shellQuoted(built) + " " + shellQuoted(build.source) +
             " && objcopy --only-keep-debug " + shellQuoted(built) + " " +
             shellQuoted(build.debugFile) + " && objcopy --strip-debug " + shellQuoted(built) +
             " " + shellQuoted(build.executable) + " && cp " + shellQuoted(build.executable) + " " +
             shellQuoted(build.stripped)))
        throw std::runtime_error("cannot build " + name);
    build.buildId = IFileIdentity::readFile(build.stripped.c_str())->buildId();
    return build;
}

// Debian's debuginfod over dir/server, indexed when the constructor returns.
class Server {
public:
    Server(const fftest::TempDir& dir, const std::vector<std::string>& indexed) {
        const int probe = listenOnFreePort(m_port);
        ::close(probe);  // debuginfod binds the port itself
        m_pid = ::fork();
        if (m_pid == 0) {
            const std::string port = std::to_string(m_port), db = dir / "server.sqlite";
            const std::string root = dir / "server", log = dir / "server.log";
            std::freopen(log.c_str(), "w", stderr);
            ::execlp("debuginfod", "debuginfod", "-F", "-p", port.c_str(), "-d", db.c_str(), "-t0",
                     "-g0", root.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        // Indexed once every build-id answers; bounded, so that a broken server fails.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        for (const std::string& id : indexed)
            while (statusOf(m_port, "/buildid/" + id + "/debuginfo").find("200") ==
                   std::string::npos) {
                if (std::chrono::steady_clock::now() > deadline)
                    throw std::runtime_error("debuginfod did not index " + id);
                std::this_thread::yield();
            }
    }
    ~Server() { stop(); }
    void stop() {
        if (m_pid <= 0) return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port); }

private:
    int m_port = 0;
    pid_t m_pid = 0;
};

// Answers every connection with `response` (raw HTTP), or, when it is empty, accepts and
// never answers.
class FakeServer {
public:
    explicit FakeServer(std::string response)
        : m_response(std::move(response)), m_fd(listenOnFreePort(m_port)) {
        m_thread = std::thread([this] {
            while (true) {
                const int client = ::accept(m_fd, nullptr, nullptr);
                if (client < 0 || m_stopping) {
                    if (client >= 0) ::close(client);
                    return;
                }
                if (m_response.empty()) {
                    m_silent.push_back(client);  // held open, never answered
                    continue;
                }
                char buffer[4096];
                (void)!::read(client, buffer, sizeof buffer);
                (void)!::write(client, m_response.data(), m_response.size());
                ::close(client);
            }
        });
    }
    ~FakeServer() {
        m_stopping = true;
        ::shutdown(m_fd, SHUT_RDWR);
        m_thread.join();
        ::close(m_fd);
        for (int fd : m_silent) ::close(fd);
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port); }

private:
    const std::string m_response;
    int m_port = 0;
    const int m_fd;
    std::atomic<bool> m_stopping{false};
    std::vector<int> m_silent;
    std::thread m_thread;
};

std::string httpOk(const std::string& body, size_t announced) {
    return "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
           std::to_string(announced) + "\r\n\r\n" + body;
}

class Debuginfod : public ::testing::Test {
protected:
    void SetUp() override {
        if (!haveDebuginfod())
            GTEST_SKIP() << "the debuginfod server is not installed "
                            "(scripts/install-deps.sh installs it)";
        if (!IDebuginfodSource::available())
            GTEST_SKIP() << "file_finder2 was built without libdebuginfod";
        ::setenv("DEBUGINFOD_CACHE_PATH", (dir / "cache").c_str(), 1);
        ::unsetenv("DEBUGINFOD_URLS");
        ::unsetenv("DEBUGINFOD_TIMEOUT");
    }

    ObjectPtr<IDebuginfodSource> source(const std::string& urls, unsigned timeout = 0) {
        ObjectPtr<IDebuginfodSource> debuginfod = IDebuginfodSource::create();
        debuginfod->setUrls(urls.c_str());
        debuginfod->setTimeout(timeout);
        return debuginfod;
    }

    // A search whose only place is the remote source.
    ObjectPtr<IFileSearch> searchWith(const ObjectPtr<IRemoteSource>& remote) {
        ObjectPtr<IResolutionContextMgr> manager = IResolutionContextMgr::create();
        ObjectPtr<IResolutionContext> user = manager->createUserWideContext();
        ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
        for (search_category_t category : {scBinaryFiles, scSymbolFiles, scSourceFiles})
            steps->setStep(static_cast<search_step_t>(255), category, false);
        manager->registerSearchStepsConfigurator(*user, "test", steps);
        ObjectPtr<ISearchOptions> options = ISearchOptions::create();
        options->setRemoteSource(remote);
        return IFileSearch::create(
            manager->createSearchEnv(*user, "test", ObjectPtr<IEnvironmentInfo>()), options);
    }

    ObjectPtr<IValidFile> findSymbols(IFileSearch& search, const Build& build) {
        SymbolFileIdentityValidator sameBuild(IFileIdentity::readFile(build.stripped.c_str()),
                                              build.stripped.c_str());
        return search.findSymFile((build.buildId + ".debug").c_str(), build.stripped.c_str(),
                                  nullptr, &sameBuild, nullptr, nullptr, nullptr);
    }

    // The command, with the cache in the test's directory; its exit code, stdout in `out`.
    int command(const std::string& args, std::string& out, const std::string& env = "") {
        const std::string line = "cd " + shellQuoted(dir.path()) +
                                 " && HOME=" + shellQuoted(dir.path()) +
                                 " DEBUGINFOD_CACHE_PATH=" + shellQuoted(dir / "cache") + " " +
                                 env + " " + shellQuoted(FILE_FINDER_EXE) + " " + args + " >" +
                                 shellQuoted(dir / "stdout") + " 2>" + shellQuoted(dir / "stderr");
        const int status = std::system(line.c_str());
        out = readFile(dir / "stdout");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fftest::TempDir dir;
};

TEST_F(Debuginfod, FetchesDebugFileExecutableAndSourceThenAnswersFromTheCache) {
    const Build app = buildProgram(dir, "app", 1);
    Server server(dir, {app.buildId});
    ObjectPtr<IFileSearch> search = searchWith(source(server.url()));

    ObjectPtr<IValidFile> symbols = findSymbols(*search, app);
    ASSERT_TRUE(symbols);
    EXPECT_EQ(ssRemoteSource, symbols->searchStep());
    EXPECT_EQ(0u, std::string(symbols->name()).rfind(dir / "cache", 0)) << symbols->name();
    EXPECT_TRUE(readFile(app.debugFile) == readFile(symbols->name()));

    const std::string byId = ".build-id/" + app.buildId.substr(0, 2) + "/" + app.buildId.substr(2);
    BinaryIdentityValidator sameBinary(IFileIdentity::fromBuildId(app.buildId.c_str()));
    ObjectPtr<IValidFile> binary = search->findBinFile(byId.c_str(), &sameBinary, nullptr, 0);
    ASSERT_TRUE(binary);
    EXPECT_TRUE(readFile(app.executable) == readFile(binary->name()));

    ObjectPtr<IValidFile> sourceFile =
        search->findSrcFile(app.source.c_str(), app.stripped.c_str(), nullptr, nullptr, nullptr);
    ASSERT_TRUE(sourceFile);
    EXPECT_EQ(readFile(app.source), readFile(sourceFile->name()));

    // An unknown build and a binary without one are misses, not errors.
    ObjectPtr<IRemoteFile> unknown =
        source(server.url())->fetch(rfDebugFile, "0123456789ab", nullptr);
    EXPECT_STREQ("", unknown->path());
    EXPECT_STREQ("not found on any server", unknown->reason());
    EXPECT_FALSE(search->findBinFile("/no/such/app", nullptr, nullptr, 0));

    server.stop();
    ObjectPtr<IValidFile> cached = findSymbols(*searchWith(source(server.url())), app);
    ASSERT_TRUE(cached);
    EXPECT_STREQ(symbols->name(), cached->name());
}

// A progress callback hears of a transfer and may end it; cancel() ends every fetch until
// resume(). Neither leaves anything in the cache.
TEST_F(Debuginfod, ProgressMayEndATransferAndCancelEndsEveryFetchUntilResumed) {
    const Build app = buildProgram(dir, "app", 6);
    Server server(dir, {app.buildId});
    struct Progress : IRemoteProgressCallback {
        bool onProgress(const char*, long long, long long) override { return ++calls, carryOn; }
        int calls = 0;
        bool carryOn = false;
    } progress;
    ObjectPtr<IDebuginfodSource> debuginfod = source(server.url());
    debuginfod->setProgressCallback(&progress);
    auto fetch = [&] { return debuginfod->fetch(rfDebugFile, app.buildId.c_str(), nullptr); };
    EXPECT_STREQ("cancelled", fetch()->reason());
    EXPECT_GT(progress.calls, 0);
    debuginfod->cancel();
    progress.carryOn = true;
    EXPECT_STREQ("cancelled", fetch()->reason());
    debuginfod->resume();
    const ObjectPtr<IRemoteFile> fetched = fetch();
    EXPECT_TRUE(readFile(app.debugFile) == readFile(fetched->path())) << fetched->reason();
}

TEST_F(Debuginfod, EightThreadsFetchAtOnce) {
    const Build one = buildProgram(dir, "one", 1), two = buildProgram(dir, "two", 2);
    Server server(dir, {one.buildId, two.buildId});
    ObjectPtr<IDebuginfodSource> shared = source(server.url());
    std::vector<std::string> found(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < found.size(); ++i)
        threads.emplace_back([&, i] {
            ObjectPtr<IValidFile> file = findSymbols(*searchWith(shared), i % 2 ? two : one);
            if (file) found[i] = readFile(file->name());
        });
    for (std::thread& thread : threads) thread.join();
    for (size_t i = 0; i < found.size(); ++i)
        EXPECT_TRUE(readFile(i % 2 ? two.debugFile : one.debugFile) == found[i]) << i;
}

TEST_F(Debuginfod, CommandMarksFetchedFilesAndExitsOneWhenTheServerIsDown) {
    const Build app = buildProgram(dir, "app", 3);
    std::string out, down;
    const std::string sym = "sym app.debug --binary " + shellQuoted(app.stripped);
    {
        Server server(dir, {app.buildId});
        down = server.url();
        ASSERT_EQ(0, command(sym + " --json", out, "DEBUGINFOD_URLS=" + shellQuoted(server.url())));
        const nlohmann::json row = nlohmann::json::parse(out).at(0);
        EXPECT_EQ("debuginfod", row.at("step"));
        EXPECT_EQ(0u, row.at("server").get<std::string>().rfind(server.url(), 0)) << out;
        EXPECT_TRUE(readFile(app.debugFile) == readFile(row.at("found").get<std::string>()));
        // resolve fetches what a manifest asks for through its pool.
        const Build other = buildProgram(dir, "other", 5);
        dir.makeFile("run.tsv", "sym\tapp.debug\t" + app.stripped + "\nsym\tother.debug\t" +
                                    other.stripped + "\n");
        ASSERT_EQ(1, command("resolve --manifest run.tsv --json", out,
                             "DEBUGINFOD_URLS=" + shellQuoted(server.url())));
        const nlohmann::json rows = nlohmann::json::parse(out);
        EXPECT_EQ("debuginfod", rows.at(0).at("step")) << out;
        EXPECT_EQ("not found on any server", rows.at(1).at("debuginfod")) << out;
        // --no-debuginfod: nothing local, so nothing at all.
        EXPECT_EQ(1, command(sym + " --no-debuginfod", out,
                             "DEBUGINFOD_URLS=" + shellQuoted(server.url())));
    }
    // The server gone (its port refuses), and the cache empty: a miss that says why.
    ASSERT_TRUE(run("rm -rf " + shellQuoted(dir / "cache")));
    EXPECT_EQ(1, command(sym + " --debuginfod " + down, out));
    EXPECT_NE(std::string::npos, out.find("debuginfod: ")) << out;
}

// What a server may send instead of the file: each is a miss with its reason, and nothing
// is left in the cache to be handed out later.
TEST_F(Debuginfod, DamagedSlowAndWrongAnswersAreMisses) {
    const Build other = buildProgram(dir, "other", 4);
    const std::string elf = readFile(other.debugFile);
    const struct {
        const char* name;
        std::string response;
        std::string reason;
    } cases[] = {
        {"never answers", "", "timed out"},
        {"truncated", httpOk(elf.substr(0, elf.size() / 2), elf.size()), "cut off"},
        {"zero length", httpOk("", 0), ""},
        {"not ELF", httpOk("#!/bin/sh\necho hello\n", 21), "not an ELF file"},
        {"flipped bits",
         httpOk(std::string("\x7f"
                            "ELX") +
                    elf.substr(4),
                elf.size()),
         "not an ELF file"},
        {"wrong build", httpOk(elf, elf.size()), "has the build-id " + other.buildId},
        {"server error", "HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n", ""},
        {"not found",
         "HTTP/1.1 404 Not Found\r\nContent-Length: 9000\r\n\r\n" + std::string(9000, 'x'),
         "not found on any server"},
    };
    int n = 0;
    for (const auto& c : cases) {
        FakeServer fake(c.response);
        char id[21];
        std::snprintf(id, sizeof id, "%020x", ++n);  // a build of its own for each
        ObjectPtr<IDebuginfodSource> debuginfod = source(fake.url(), 1);
        for (int attempt = 0; attempt < 2; ++attempt) {
            ObjectPtr<IRemoteFile> file = debuginfod->fetch(rfDebugFile, id, nullptr);
            EXPECT_STREQ("", file->path()) << c.name;
            EXPECT_NE(std::string::npos, std::string(file->reason()).find(c.reason))
                << c.name << ": " << file->reason();
        }
    }
}

}  // namespace

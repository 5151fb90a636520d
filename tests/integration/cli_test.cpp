// The file-finder command run as a process against temporary trees: help and usage, exit
// codes, kernel extraction, archiving, the persistent search directories, JSON output and
// logging.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "compressed_files.h"
#include "ff_identity.h"
#include "ff_utils.h"
#include "temp_dir.h"
#include "unprivileged.h"

using fftest::readFile;

namespace {

struct Result {
    int code;
    std::string out;
    std::string err;
};

std::string quoted(const std::string& word) {
    std::string text = "'";
    for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

// "a b c" -> {"a", "b", "c"}.
std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

class FileFinderCli : public ::testing::Test {
protected:
    // Runs the command with `args` in the temporary directory, its home and data
    // directories inside it too. `shellArgs` is appended as shell text, unquoted.
    Result run(const std::vector<std::string>& args, const std::string& shellArgs = "") const {
        std::string command = "cd " + quoted(dir.path()) + " && HOME=" + quoted(dir.path()) +
                              " XDG_DATA_HOME=" + quoted(dir / "data") + " " +
                              quoted(FILE_FINDER_EXE);
        for (const std::string& arg : args) command += " " + quoted(arg);
        command += " " + shellArgs + " >" + quoted(dir / "stdout") + " 2>" + quoted(dir / "stderr");
        const int status = std::system(command.c_str());
        if (!WIFEXITED(status)) throw std::runtime_error("file-finder did not exit: " + command);
        return {WEXITSTATUS(status), readFile(dir / "stdout"), readFile(dir / "stderr")};
    }
    // Runs `command` in the temporary directory with the shell; true when it succeeded.
    bool shell(const std::string& command) const {
        return std::system(("cd " + quoted(dir.path()) + " && " + command).c_str()) == 0;
    }

    fftest::TempDir dir;
};

// A program started for a test and killed at its end. The constructor returns once the
// program's main() runs (its libraries are loaded then): it writes one byte to its
// standard output first.
class RunningChild {
public:
    explicit RunningChild(const std::string& program) {
        int ready[2];
        if (::pipe2(ready, O_CLOEXEC) != 0) return;
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(ready[1], 1);  // the copy is not closed by exec
            ::execl(program.c_str(), program.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(ready[1]);
        char byte;
        m_ready = m_pid > 0 && ::read(ready[0], &byte, 1) == 1;
        ::close(ready[0]);
    }
    ~RunningChild() {
        if (m_pid <= 0) return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    RunningChild(const RunningChild&) = delete;
    RunningChild& operator=(const RunningChild&) = delete;

    bool ready() const { return m_ready; }
    std::string pid() const { return std::to_string(m_pid); }

private:
    pid_t m_pid = -1;
    bool m_ready = false;
};

// The row of `kind` whose request has `field` equal to `value`; null when there is none.
nlohmann::json rowOf(const nlohmann::json& rows, const char* kind, const char* field,
                     const std::string& value) {
    for (const nlohmann::json& row : rows)
        if (row["request"]["kind"] == kind && row["request"].value(field, "") == value) return row;
    return nlohmann::json();
}

}  // namespace

TEST_F(FileFinderCli, HelpOnEverySubCommandShowsExamplesAndVersionIsTwoThirteen) {
    for (const char* args :
         {"--help", "bin --help", "sym --help", "src --help", "resolve --help",
          "extract-kernel --help", "archive --help", "dirs --help", "dirs list --help",
          "dirs add --help", "dirs remove --help", "dirs clear --help"}) {
        SCOPED_TRACE(args);
        const Result result = run(words(args));
        EXPECT_EQ(result.code, 0);
        EXPECT_NE(result.out.find("Examples:"), std::string::npos);
    }
    const Result version = run({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_NE(version.out.find("2.13"), std::string::npos);
}

TEST_F(FileFinderCli, BadUsageExitsTwoAndSaysWhatToDo) {
    dir.makeFile("corrupt.json", "{\"searchDirs\": [\n  {\"searchCategory\": ]}");
    dir.makeDir("adir");
    const struct {
        std::vector<std::string> args;
        const char* says;  // on stderr
    } cases[] = {
        {{}, ""},
        {{"frobnicate"}, "unknown sub-command 'frobnicate' (see --help)"},
        {{"reslove", "--self"}, "unknown sub-command 'reslove'; did you mean 'resolve'?"},
        {{"dirs", "lst"}, "did you mean 'list'?"},
        {{"bni", "x"}, "unknown sub-command 'bni'; did you mean 'bin'?"},
        {{"bin", "/a", "--serch-dir=binaries:/a"}, "unknown option '--serch-dir'; did you mean"},
        {{"--log-level", "loud", "bin", "/a"}, ""},
        {{"bin"}, ""},
        {{"bin", ""}, "give the NAME of the file"},
        {{"bin", "adir"}, "adir is a directory; give the name of a file"},
        {{"sym", "x.debug"}, ""},
        {{"sym", "--binary", "gone"}, "the binary gone does not exist; give the NAME"},
        {{"archive", "f"}, ""},
        {{"archive", "missing.so", "--archive-dir", "arch"}, ""},
        {{"bin", "/a", "--checksum", "md5:12"}, ""},
        {{"bin", "/a", "--steps=-nope"}, ""},
        {{"bin", "/a", "--search-dir=nowhere:/a"}, ""},
        {{"bin", "/a", "--archive-dir", "missing-dir"}, ""},
        {{"resolve", "--pid", "1", "--self"}, ""},
        {{"resolve", "--pid", "abc"}, "a whole number from 1 to 999999999, not 'abc'"},
        {{"resolve", "--pid", "0"}, "a whole number from 1 to 999999999, not '0'"},
        {{"resolve", "--manifest", "missing.tsv"}, ""},
        {{"bin", "/a", "--config", "corrupt.json"},
         "corrupt.json: line 2, column 22: not valid JSON; the file was left untouched"},
        {{"dirs", "add", "--config", "corrupt.json", "--search-dir=all:/x"}, "left untouched"},
        {{"dirs", "list", "--config", "adir"}, "adir is a directory"},
        {{"dirs", "add", "--config", "c.json", "--search-dir=symbols"}, ""},
        {{"extract-kernel", "only-one-argument"}, ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        const Result result = run(c.args);
        EXPECT_EQ(result.code, 2);
        EXPECT_FALSE(result.err.empty());
        EXPECT_NE(result.err.find(c.says), std::string::npos) << result.err;
        EXPECT_TRUE(result.out.empty());
    }
    // Never moved aside, never rewritten.
    EXPECT_EQ(readFile(dir / "corrupt.json"), "{\"searchDirs\": [\n  {\"searchCategory\": ]}");
    EXPECT_NE(::access((dir / "corrupt.json.corrupt").c_str(), F_OK), 0);
}

// A process with nothing of user space to resolve: one that has ended, and a zombie.
TEST_F(FileFinderCli, AProcessWithoutMappingsExitsOneAndSaysWhy) {
    const pid_t zombie = ::fork();
    if (zombie == 0) ::_exit(0);
    siginfo_t info{};
    ::waitid(P_PID, zombie, &info, WEXITED | WNOWAIT);  // exited, not reaped
    const Result ofZombie = run({"resolve", "--pid", std::to_string(zombie)});
    ::waitpid(zombie, nullptr, 0);
    EXPECT_EQ(ofZombie.code, 1);
    EXPECT_NE(ofZombie.err.find("has no user-space mappings"), std::string::npos) << ofZombie.err;
    const Result gone = run({"resolve", "--pid", "999999999"});
    EXPECT_EQ(gone.code, 1);
    EXPECT_NE(gone.err.find("there is no process 999999999"), std::string::npos) << gone.err;
}

TEST_F(FileFinderCli, BinFindsTheFileAndPrintsItsConfidenceAndStep) {
    const std::string app = dir.makeFile("tree/sub/app", "binary");
    const Result table =
        run({"bin", "/recorded/bin/app", "--search-dir=binaries,recursive:" + (dir / "tree")});
    EXPECT_EQ(table.code, 0) << table.err;
    EXPECT_NE(table.out.find(app), std::string::npos) << table.out;
    EXPECT_NE(table.out.find("low-priority"), std::string::npos) << table.out;

    const Result json = run({"bin", "/recorded/bin/app", "--json",
                             "--search-dir=binaries,recursive,high:" + (dir / "tree")});
    ASSERT_EQ(json.code, 0) << json.err;
    const nlohmann::json rows = nlohmann::json::parse(json.out);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0]["found"], app);
    EXPECT_EQ(rows[0]["step"], "high-priority");
}

TEST_F(FileFinderCli, NothingFoundListsEachRejectedCandidateAndExitsOne) {
    const std::string app = dir.makeFile("app", "binary");
    const Result result =
        run({"bin", app, "--json", "--checksum", "md5:00000000000000000000000000000000"});
    EXPECT_EQ(result.code, 1) << result.err;
    const nlohmann::json rows = nlohmann::json::parse(result.out);
    ASSERT_EQ(rows.size(), 1u);
    const std::string text = rows.dump();
    EXPECT_NE(text.find(app), std::string::npos) << text;
    EXPECT_NE(text.find("checksum"), std::string::npos) << text;
    EXPECT_EQ(rows[0]["reason"].get<std::string>().rfind("1 candidate refused: ", 0), 0u) << text;
    EXPECT_EQ(rows[0]["tried"][0]["path"], app);
    EXPECT_EQ(rows[0]["tried"][0]["outcome"], "refused");

    // Nothing anywhere: every place tried is listed, the missing search directory named.
    const Result nowhere =
        run({"bin", "lost.so", "--verbose", "--search-dir=binaries:" + (dir / "nowhere")});
    EXPECT_EQ(nowhere.code, 1);
    EXPECT_NE(nowhere.err.find("warning: --search-dir " + (dir / "nowhere") + " is not a dir"),
              std::string::npos)
        << nowhere.err;
    EXPECT_NE(nowhere.out.find("reason: no candidate existed in "), std::string::npos);
    EXPECT_NE(nowhere.out.find("tried " + (dir / "nowhere/lost.so") + " (low-priority): absent"),
              std::string::npos)
        << nowhere.out;
    const Result noBinary = run({"sym", "lost.debug", "--binary", "gone/app"});
    EXPECT_EQ(noBinary.code, 1);
    EXPECT_NE(noBinary.err.find("warning: --binary gone/app does not exist"), std::string::npos);
}

TEST_F(FileFinderCli, AManifestResolvesEveryGoodLineAndReportsTheBadOnes) {
    const std::string app = dir.makeFile("bins/app", "binary");
    const std::string source = dir.makeFile("src/main.c", "int main;");
    dir.makeFile("run.tsv", "# recorded\nbin\t" + app +
                                "\nbin\tonly-two\tfields\textra\n\nsrc\t/build/main.c\t" + app +
                                "\n");
    for (const char* manifest : {"run.tsv", "-"}) {  // a file, standard input
        const Result result = run(
            {"resolve", "--manifest", manifest, "--json", "--search-dir=sources:" + (dir / "src")},
            "< run.tsv");
        EXPECT_EQ(result.code, 2);
        EXPECT_NE(result.err.find(":3: "), std::string::npos) << result.err;
        const nlohmann::json rows = nlohmann::json::parse(result.out);
        ASSERT_EQ(rows.size(), 2u);
        EXPECT_EQ(rows[0]["found"], app);
        EXPECT_EQ(rows[1]["found"], source);
    }
}

TEST_F(FileFinderCli, AnUnreadableDirectoryIsSkippedWithOneWarning) {
    const std::string app = dir.makeFile("bins/app", "binary");
    dir.makeFile("tree/locked/inner/x", "x");
    dir.makeFile("run.tsv", "bin\tlost.so\nbin\tapp\n");
    fftest::openToEveryone(dir.path());
    ::chmod(dir.path().c_str(), 0777);  // the unprivileged run writes its output here
    ::chmod((dir / "tree/locked").c_str(), 0);
    Result result{};
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  result = run({"resolve", "--manifest", "run.tsv", "--json",
                                "--search-dir=binaries,recursive:" + (dir / "tree"),
                                "--search-dir=binaries:" + (dir / "bins")});
                  return true;
              }));
    // The child's answer is in the files it wrote.
    const nlohmann::json rows = nlohmann::json::parse(readFile(dir / "stdout"));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_FALSE(rows[0].contains("error")) << rows.dump();
    EXPECT_EQ(rows[1]["found"], app);
    const std::string err = readFile(dir / "stderr");
    const std::string warning = "warning: skipped " + (dir / "tree/locked") + ": cannot be listed";
    EXPECT_NE(err.find(warning), std::string::npos) << err;
    EXPECT_EQ(err.find(warning), err.rfind(warning)) << err;  // once for both requests
}

TEST_F(FileFinderCli, ExtractKernelUnpacksEveryFormatAndSaysWhyItCannot) {
    const std::string kernel = fftest::elfLikeFile(100000);
    dir.makeFile("vmlinuz.in", kernel);
    ASSERT_TRUE(shell(
        "{ printf 'boot\\037\\213\\001code'; gzip -nc vmlinuz.in; echo trailer; } > vmlinuz"));
    const Result good = run({"extract-kernel", "vmlinuz", "vmlinux"});
    EXPECT_EQ(good.code, 0) << good.err;
    EXPECT_EQ(good.out, "vmlinux\n");
    EXPECT_EQ(good.err, "");  // the library's log is silent without --log-level
    EXPECT_EQ(readFile(dir / "vmlinux"), kernel);

    ASSERT_TRUE(
        shell("{ printf 'boot'; xz -c vmlinuz.in; } > vmlinuz.xz && "
              "head -c 3000 vmlinuz.xz > cut.xz && echo no kernel in here > plain && : > empty && "
              "gzip -nc vmlinuz.in > flipped.gz && printf '\\377' | dd of=flipped.gz bs=1 "
              "seek=$(($(stat -c %s flipped.gz) / 2)) conv=notrunc 2>/dev/null && "
              "zstd -qc vmlinuz.in | head -c 3000 > cut.zst && "
              "{ printf '\\002\\041\\114\\030\\377\\377\\377\\177'; head -c 4096 vmlinuz.in; } "
              "> huge-block.lz4"));
    EXPECT_EQ(run({"extract-kernel", "vmlinuz.xz", "vmlinux"}).code, 0);
    EXPECT_EQ(readFile(dir / "vmlinux"), kernel);
    const std::pair<std::string, std::string> refusals[] = {
        {"plain", "plain holds no compressed kernel"},
        {"cut.xz", "the xz stream in cut.xz is cut off before its end"},
        {"missing", "cannot read missing: No such file or directory"},
        {"empty", "empty holds no compressed kernel"},
        {"flipped.gz", "the gzip stream in flipped.gz is corrupt"},
        {"cut.zst", "the zstd stream in cut.zst is cut off before its end"},
        {"huge-block.lz4", "the lz4 stream in huge-block.lz4 is corrupt"},
    };
    for (const auto& refusal : refusals) {
        const Result bad = run({"extract-kernel", refusal.first, "out"});
        EXPECT_EQ(bad.code, 2);
        EXPECT_NE(bad.err.find(refusal.second), std::string::npos) << bad.err;
        EXPECT_FALSE(FF_2_13::utils::fileExists((dir / "out").c_str())) << refusal.first;
    }
    EXPECT_EQ(run({"extract-kernel", "missing", "out"}).code, 2);
    EXPECT_EQ(run({"extract-kernel", "vmlinuz", "no-such-dir/vmlinux"}).code, 2);
}

TEST_F(FileFinderCli, ArchivingTwiceSaysTheSecondTimeThatTheFileIsThere) {
    dir.makeFile("my lib.so", "contents");
    const Result first =
        run({"archive", "my lib.so", "--archive-dir", "arch", "--category", "sym"});
    EXPECT_EQ(first.code, 0) << first.err;
    // md5("contents") = 98bf7d8c15784f0a3d63204441e1e2aa
    const std::string archived =
        "arch/symbols/my lib.so/98bf7d8c15784f0a3d63204441e1e2aa/my lib.so";
    EXPECT_EQ(first.out, "archived: " + archived + "\n");
    EXPECT_EQ(readFile(dir / archived), "contents");

    const Result second =
        run({"archive", "my lib.so", "--archive-dir", "arch", "--category", "sym"});
    EXPECT_EQ(second.code, 0);
    EXPECT_EQ(second.out, "already archived: " + archived + "\n");

    const Result json = run({"archive", "my lib.so", "--archive-dir", "arch", "--json"});
    EXPECT_EQ(json.code, 0);
    EXPECT_EQ(nlohmann::json::parse(json.out)["archived"],
              "arch/my lib.so/98bf7d8c15784f0a3d63204441e1e2aa/my lib.so");

    // Two versions, and a lookup that cannot tell them apart: both are named.
    dir.makeFile("my lib.so", "other contents");
    ASSERT_EQ(run({"archive", "my lib.so", "--archive-dir", "arch", "--category", "sym"}).code, 0);
    const Result lookup = run(
        {"sym", "my lib.so", "--binary", "/none", "--archive-dir", "arch", "--no-identity-check"});
    EXPECT_NE(lookup.err.find("2 versions of my lib.so are archived in arch/symbols/my lib.so; "
                              "give --checksum to pick one:\n  arch/symbols/my lib.so/"),
              std::string::npos)
        << lookup.err;
}

TEST_F(FileFinderCli, DirsRoundTripThroughTheShellKeepsBlanksAndQuotes) {
    const Result add =
        run({"dirs", "add", "--config", "dirs.json", "--search-dir=symbols,recursive:/srv/my debug",
             "--search-dir=all,high:/it's here", "--search-dir=binaries:/opt/lib"});
    ASSERT_EQ(add.code, 0) << add.err;
    const Result list = run({"dirs", "list", "--config", "dirs.json"});
    EXPECT_EQ(list.code, 0);
    EXPECT_EQ(list.out,
              "--search-dir=binaries:/opt/lib\n"
              "'--search-dir=symbols,recursive:/srv/my debug'\n"
              "'--search-dir=all,high:/it'\\''s here'\n");

    // The listed lines are shell words: given to a shell they add the same directories.
    std::string words = list.out;
    std::replace(words.begin(), words.end(), '\n', ' ');
    ASSERT_EQ(run({"dirs", "add", "--config", "copy.json"}, words).code, 0);
    EXPECT_EQ(run({"dirs", "list", "--config", "copy.json"}).out, list.out);

    const nlohmann::json json =
        nlohmann::json::parse(run({"dirs", "list", "--config", "dirs.json", "--json"}).out);
    ASSERT_EQ(json.size(), 3u);
    EXPECT_EQ(json[1], nlohmann::json({{"category", "symbols"},
                                       {"name", "/srv/my debug"},
                                       {"recursive", true},
                                       {"priority", "low"}}));

    EXPECT_EQ(run({"dirs", "remove", "--config", "dirs.json", "--search-dir=all:/it's here"}).code,
              0);
    const Result absent = run({"dirs", "remove", "--config", "dirs.json", "--search-dir=all:/no"});
    EXPECT_EQ(absent.code, 1);
    EXPECT_NE(absent.err.find("/no is not among the all directories"), std::string::npos);
    EXPECT_EQ(run({"dirs", "clear", "--config", "dirs.json", "--category", "sym"}).code, 0);
    EXPECT_EQ(run({"dirs", "list", "--config", "dirs.json"}).out,
              "--search-dir=binaries:/opt/lib\n");
    EXPECT_EQ(run({"dirs", "clear", "--config", "dirs.json"}).code, 0);
    EXPECT_EQ(run({"dirs", "list", "--config", "dirs.json"}).out, "");
}

TEST_F(FileFinderCli, DirsThatCannotBeWrittenExitTwo) {
    const std::string locked = dir.makeDir("locked");
    // The unprivileged child must be able to write its output files, and nothing else.
    for (const char* output : {"stdout", "stderr"}) ::chmod(dir.makeFile(output, "").c_str(), 0666);
    fftest::openToEveryone(dir.path());
    ::chmod(locked.c_str(), 0555);
    const int status = fftest::runUnprivileged([&] {
        const Result add =
            run({"dirs", "add", "--config", "locked/dirs.json", "--search-dir=all:/x"});
        return add.code == 2 && add.err.find("cannot write locked/dirs.json") != std::string::npos;
    });
    EXPECT_EQ(status, 0);
}

// A module by the name the kernel reports, under the release's tree of a system root;
// the kernel of that release, which cannot be unpacked, turned down with the reason.
TEST_F(FileFinderCli, KernelReleaseFindsModulesByRecordedNameAndOnlyUnpackedKernels) {
    const std::string tree = "root/lib/modules/6.1.0-9-amd64/kernel/sound/pci/hda/";
    dir.makeFile(tree + "snd-hda-intel.ko", fftest::elfLikeFile(2000));
    dir.makeFile("root/boot/vmlinuz-6.1.0-9-amd64", "no kernel in here");
    const std::vector<std::string> release = {"--kernel-release", "6.1.0-9-amd64", "--system-root",
                                              "root", "--json"};
    std::vector<std::string> args = {"bin", "[snd_hda_intel]"};
    args.insert(args.end(), release.begin(), release.end());
    const Result module = run(args);
    EXPECT_EQ(module.code, 0) << module.err;
    EXPECT_EQ(nlohmann::json::parse(module.out)[0]["found"], dir / (tree + "snd-hda-intel.ko"));

    args[1] = "vmlinux";
    const Result kernel = run(args);
    EXPECT_EQ(kernel.code, 1);
    EXPECT_NE(kernel.out.find("cannot be unpacked: no compressed stream of a known format"),
              std::string::npos)
        << kernel.out;
}

TEST_F(FileFinderCli, LogLevelWritesTheLibrarysLogToStderr) {
    dir.makeFile("vmlinuz.in", fftest::elfLikeFile(1000));
    ASSERT_TRUE(shell("gzip -nc vmlinuz.in > vmlinuz"));
    const Result logged = run({"--log-level", "info", "extract-kernel", "vmlinuz", "vmlinux"});
    EXPECT_EQ(logged.code, 0);
    EXPECT_NE(logged.err.find("vmlinux was unpacked from vmlinuz (gzip)"), std::string::npos)
        << logged.err;
    // A global option may also follow the sub-command's arguments.
    const Result after = run({"extract-kernel", "vmlinuz", "vmlinux", "--log-level", "error"});
    EXPECT_EQ(after.code, 0);
    EXPECT_EQ(after.err, "");
}

// A real split debug file: a program built with -g, its debug information moved to a
// separate file and linked by build-id and by .gnu_debuglink. `resolve --pid` finds the
// debug file under a .build-id tree, and by its debug-link name when that tree is absent.
TEST_F(FileFinderCli, ResolveFindsASplitDebugFileByBuildIdAndByDebugLink) {
    if (!shell("{ command -v cc && command -v objcopy && command -v readelf; } >/dev/null 2>&1"))
        GTEST_SKIP() << "cc, objcopy or readelf is not installed";
    dir.makeFile("prog.c",
                 "#include <unistd.h>\nint main(void) { write(1, \"r\", 1); pause(); }\n");
    ASSERT_TRUE(
        shell("cc -g -Wl,--build-id=sha1 -o prog prog.c && "
              "objcopy --only-keep-debug prog prog.debug && "
              "objcopy --strip-debug --add-gnu-debuglink=prog.debug prog && "
              "readelf -n prog | sed -n 's/.*Build ID: \\([0-9a-f]*\\).*/\\1/p' > id"));
    // The build-id name the linker gave: the note's bytes as hex, "xx/rest".
    std::string id = readFile(dir / "id");
    id.erase(id.find_last_not_of('\n') + 1);
    ASSERT_GT(id.size(), 2u);
    const std::string byId =
        dir.makeDir("store/.build-id/" + id.substr(0, 2)) + "/" + id.substr(2) + ".debug";
    ASSERT_EQ(std::rename((dir / "prog.debug").c_str(), byId.c_str()), 0);

    const RunningChild child(dir / "prog");
    ASSERT_TRUE(child.ready());
    auto symbolRow = [&](const std::string& searchDir) {
        return rowOf(nlohmann::json::parse(run({"resolve", "--pid", child.pid(), "--json",
                                                "--search-dir=symbols:" + searchDir})
                                               .out),
                     "sym", "binary", dir / "prog");
    };
    const nlohmann::json byBuildId = symbolRow(dir / "store");
    EXPECT_EQ(byBuildId.value("found", nlohmann::json()), byId) << byBuildId.dump();

    // Without the .build-id tree, the debug link's name finds it.
    ASSERT_EQ(std::rename(byId.c_str(), (dir.makeDir("links") + "/prog.debug").c_str()), 0);
    const nlohmann::json byLink = symbolRow(dir / "links");
    EXPECT_EQ(byLink.value("found", nlohmann::json()), dir / "links/prog.debug") << byLink.dump();
}

// Two builds of one library, each split into a debug file; one without a build-id; a
// text file where the around-binary step looks. `sym` and `bin` refuse every file of
// another build, with its reason, and still find the right one.
TEST_F(FileFinderCli, SymAndBinRefuseFilesOfOtherBuildsAndFindTheRightOne) {
    if (!shell("{ command -v cc && command -v objcopy; } >/dev/null 2>&1"))
        GTEST_SKIP() << "cc or objcopy is not installed";
    dir.makeFile("a.c", "int f(void) { return 1; }\n");
    dir.makeFile("b.c", "int f(void) { return 2; }\n");
    ASSERT_TRUE(shell(
        "split() { objcopy --only-keep-debug $1 $2 && "
        "objcopy --strip-debug --add-gnu-debuglink=$2 $1; }; mkdir bin v2 right nb nb2 && "
        "cc -g -shared -fPIC -Wl,--build-id -o bin/libE.so.1 a.c && "
        "split bin/libE.so.1 right/libE.so.1.debug && "
        "cc -g -shared -fPIC -Wl,--build-id -o v2/libE.so.1 b.c && "
        "split v2/libE.so.1 bin/libE.so.1.debug && echo 'GROUP ( libE.so.1 )' > bin/libE.so && "
        "cc -g -shared -fPIC -Wl,--build-id=none -o nb/libN.so a.c && "
        "split nb/libN.so right/libN.so.debug && "
        "cc -g -shared -fPIC -Wl,--build-id=none -o nb2/libN.so b.c && "
        "split nb2/libN.so nb/libN.so.debug && cc -shared -fPIC -o plain.so a.c"));
    const std::string id =
        FF_2_13::IFileIdentity::readFile((dir / "bin/libE.so.1").c_str())->buildId();
    const std::string other =
        FF_2_13::IFileIdentity::readFile((dir / "v2/libE.so.1").c_str())->buildId();
    ASSERT_EQ(id.size(), 40u);
    const std::string byId = ".build-id/" + id.substr(0, 2) + "/" + id.substr(2);
    ASSERT_TRUE(shell("mkdir -p wrong/.build-id/" + id.substr(0, 2) + " good/.build-id/" +
                      id.substr(0, 2) + " && cp v2/libE.so.1 wrong/" + byId +
                      " && cp bin/libE.so.1.debug wrong/" + byId +
                      ".debug && cp bin/libE.so.1 good/" + byId +
                      " && cp right/libE.so.1.debug good/" + byId + ".debug"));

    // A rejection is reported when nothing is found: each refusal has a case of its own.
    const struct {
        const char* args;
        const char* found;    // as the search directories were given; "" when nothing is
        const char* refused;  // a part of a rejection's message
    } cases[] = {
        {"sym libE.so.1.debug --binary bin/libE.so.1", "", "is not the build ID of the binary"},
        {"sym libE.so.1.debug --binary bin/libE.so.1 --search-dir=symbols:right",
         "right/libE.so.1.debug", ""},
        {"sym libE.so.1.debug --binary bin/libE.so.1 --no-identity-check", "bin/libE.so.1.debug",
         ""},
        {"sym nonsense --binary bin/libE.so.1", "", "is not a valid symbol file"},
        {"sym plain.so --binary plain.so", "", "carries no debug information"},
        {"sym libN.so.debug --binary nb/libN.so", "", "the binary's debug link records"},
        {"sym libN.so.debug --binary nb/libN.so --search-dir=symbols:right", "right/libN.so.debug",
         ""},
        // Without a name: the binary's build-id name, then its debug link.
        {"sym --binary bin/libE.so.1 --search-dir=symbols:good", "good/BYID.debug", ""},
        {"sym --binary nb/libN.so --search-dir=symbols:right", "right/libN.so.debug", ""},
        {"sym --build-id ID --search-dir=symbols:wrong", "", "is not the build ID of the binary"},
        {"sym --build-id ID --search-dir=symbols,high:wrong --search-dir=symbols:good",
         "good/BYID.debug", ""},
        {"bin --build-id ID --search-dir=binaries:wrong", "", "is not the expected build ID"},
        {"bin --build-id ID --search-dir=binaries,high:wrong --search-dir=binaries:good",
         "good/BYID", ""},
        {"bin DIR/bin/libE.so.1 --build-id OTHER", "", "is not the expected build ID"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        std::string args = c.args;
        for (const auto& [word, value] :
             {std::pair<std::string, std::string>{"OTHER", other}, {"ID", id}, {"DIR", dir.path()}})
            if (args.find(word) != std::string::npos)
                args.replace(args.find(word), word.size(), value);
        std::string found = c.found;
        if (found.find("BYID") != std::string::npos) found.replace(found.find("BYID"), 4, byId);
        const Result result = run(words(args + " --json"));
        ASSERT_EQ(result.code, *c.found ? 0 : 1) << result.err;
        const nlohmann::json row = nlohmann::json::parse(result.out).at(0);
        EXPECT_EQ(row["found"], *c.found ? nlohmann::json(found) : nlohmann::json()) << row.dump();
        EXPECT_NE(row["rejected"].dump().find(c.refused), std::string::npos) << row.dump();
    }
    // A binary of another build than --build-id says is bad input.
    EXPECT_EQ(run(words("sym x --binary bin/libE.so.1 --build-id " + other)).code, 2);
}

// A program whose library is replaced on disk, and another deleted, after it loaded
// them: each resolves to the build-id it loaded, by root through map_files and by an
// ordinary user through the process's memory.
TEST_F(FileFinderCli, ResolvePidReportsWhatTheProcessLoadedOfReplacedAndDeletedLibraries) {
    if (!shell("command -v cc >/dev/null 2>&1 && command -v objcopy >/dev/null 2>&1"))
        GTEST_SKIP() << "cc or objcopy is not installed";
    dir.makeFile("e1.c", "int e(void) { return 1; }\n");
    dir.makeFile("e2.c", "int e(void) { return 2; }\n");
    dir.makeFile("d.c", "int d(void) { return 3; }\n");
    dir.makeFile("prog.c",
                 "#include <unistd.h>\nint e(void); int d(void);\n"
                 "int main(void) { write(1, \"r\", 1); pause(); return e() + d(); }\n");
    ASSERT_TRUE(
        shell("mkdir new && cc -g -shared -fPIC -Wl,--build-id -o libE.so e1.c && "
              "cc -g -shared -fPIC -Wl,--build-id -o new/libE.so e2.c && "
              "cc -g -shared -fPIC -Wl,--build-id -o libD.so d.c && "
              "cc -o prog prog.c -L. -lE -lD -Wl,-rpath,'$ORIGIN'"));
    auto idOf = [&](const std::string& file) {
        return std::string(FF_2_13::IFileIdentity::readFile((dir / file).c_str())->buildId());
    };
    const std::string loadedE = idOf("libE.so"), loadedD = idOf("libD.so");
    for (const auto& [library, id] :
         {std::pair<std::string, std::string>{"libE.so", loadedE}, {"libD.so", loadedD}})
        ASSERT_TRUE(shell("mkdir -p store/.build-id/" + id.substr(0, 2) +
                          " && objcopy --only-keep-debug " + library + " store/.build-id/" +
                          id.substr(0, 2) + "/" + id.substr(2) + ".debug"));
    for (const char* output : {"stdout", "stderr"}) dir.makeFile(output, "");
    fftest::openToEveryone(dir.path());
    // The unprivileged run replaces files here and writes its output.
    for (const char* writable : {"", "/new", "/stdout", "/stderr"})
        ::chmod((dir.path() + writable).c_str(), 0777);

    // Starts the program, replaces and deletes, resolves; the rows are in "stdout".
    const auto resolveAfterReplacing = [&]() {
        const RunningChild child(dir / "prog");
        return child.ready() &&
               shell(
                   "cp libE.so old-libE.so && cp libD.so old-libD.so && "
                   "mv new/libE.so libE.so && rm libD.so") &&
               run({"resolve", "--pid", child.pid(), "--json",
                    "--search-dir=symbols:" + (dir / "store")})
                       .code == 1 &&
               shell(
                   "mv libE.so new/libE.so && mv old-libE.so libE.so && "
                   "mv old-libD.so libD.so");
    };
    for (const bool privileged : {true, false}) {
        SCOPED_TRACE(privileged ? "as root (or whoever runs the tests)" : "unprivileged");
        if (privileged)
            ASSERT_TRUE(resolveAfterReplacing());
        else
            ASSERT_EQ(fftest::runUnprivileged(resolveAfterReplacing), 0);
        const nlohmann::json rows = nlohmann::json::parse(readFile(dir / "stdout"));
        // Said once, whatever the number of modules it concerns.
        const std::string notes = readFile(dir / "stderr");
        const bool asRoot = ::geteuid() == 0 && privileged;
        EXPECT_EQ(notes.find("map_files") == std::string::npos, asRoot) << notes;
        EXPECT_EQ(notes.find("map_files"), notes.rfind("map_files")) << notes;
        for (const auto& [library, id, state] :
             {std::tuple<std::string, std::string, std::string>{"libE.so", loadedE, "replaced"},
              {"libD.so", loadedD, "deleted"}}) {
            SCOPED_TRACE(library);
            const nlohmann::json bin = rowOf(rows, "bin", "name", dir / library);
            EXPECT_EQ(bin.value("state", ""), state) << bin.dump();
            EXPECT_EQ(bin.value("buildId", ""), id);
            EXPECT_TRUE(bin["found"].is_null()) << bin.dump();  // the file there is not it
            const nlohmann::json sym = rowOf(rows, "sym", "binary", dir / library);
            EXPECT_EQ(sym.value("found", nlohmann::json()),
                      dir / ("store/.build-id/" + id.substr(0, 2) + "/" + id.substr(2) + ".debug"))
                << sym.dump();
        }
        EXPECT_NE(rowOf(rows, "sym", "binary", "[vdso]").value("buildId", ""), "");
    }
}

// The writer of recordings: its lines, and that they stay whole, whatever happens to the file and the process.
#include "support/awaiting.h"
#include "support/files.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "tools/trace/recording.h"
#include "trace/recorder/recording_writer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

namespace velmora::trace_test {
namespace {

namespace fs = std::filesystem;
using desktop::TemporaryFolder;
using trace::JsonLine;
using trace::kDefaultLimit;
using trace::kLowestLimit;
using trace::RecordingWriter;

class Writer : public ::testing::Test {
protected:
    static void writeText(RecordingWriter& writer, std::string_view text) {
        JsonLine line("log");
        line.text("text", text);
        writer.write(line);
    }

    /// Runs in a process of its own. @return as Launched::wait() has it.
    static int inProcess(const std::function<void()>& run) {
        const pid_t process = startProcess(run);
        int status = 0;
        waitpid(process, &status, 0);
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    static pid_t startProcess(const std::function<void()>& run) {
        const pid_t process = fork();
        if (process == 0) {
            run();
            _exit(0);
        }
        return process;
    }

    std::string asked(const std::string& expression) const { return ask(file, expression); }

    TemporaryFolder folder;
    fs::path file = folder.path() / "run.jsonl";
    fs::path old = folder.path() / "run.jsonl.old";
};

TEST_F(Writer, SaysFirstWhatTheProcessIs) {
    RecordingWriter writer(file, kDefaultLimit, trace::role::kService);
    JsonLine line("connect", 17);
    line.number("c", 1);
    writer.write(line);

    const std::string name = program_invocation_short_name;
    EXPECT_EQ(asked("[list(line) for line in lines]"),
              "[['t', 'p', 'th', 'k', 'version', 'wall', 'program', 'args', 'role'], ['t', 'p', 'th', 'k', 'c']]");
    EXPECT_EQ(asked("lines[0]['version'], lines[0]['program'], lines[0]['role']"), "(1, '" + name + "', 'service')");
    EXPECT_EQ(asked("lines[0]['args'][0].endswith('/" + name + "')"), "True");
    const std::string process = std::to_string(getpid());
    EXPECT_EQ(asked("lines[1]"), "{'t': 17, 'p': " + process + ", 'th': " + process + ", 'k': 'connect', 'c': 1}");
}

TEST_F(Writer, TellsTheTimeOfDayAtItsBeginning) {
    RecordingWriter(file, kDefaultLimit, trace::role::kKeeper).begin();

    EXPECT_EQ(asked("abs(__import__('time').time() - lines[0]['wall'] / 1e9) < 30"), "True");
    EXPECT_EQ(asked("abs(__import__('time').monotonic() - lines[0]['t'] / 1e9) < 30"), "True");
}

TEST_F(Writer, WritesNothingUntilThereIsSomething) {
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    writer.end();

    EXPECT_FALSE(fs::exists(file));
}

TEST_F(Writer, WritesNothingAfterTheEnd) {
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    writeText(writer, "before");
    writer.end();
    writeText(writer, "after");
    writer.end();

    EXPECT_EQ(asked("[line['k'] for line in lines]"), "['begin', 'log', 'end']");
}

TEST_F(Writer, KeepsEveryByteOfAText) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    // Valid: two, three and four bytes, the last before and the first after the surrogates, the last of Unicode.
    all += "\xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xAC \xED\x9F\xBF\xEE\x80\x80 \xF4\x8F\xBF\xBF|";
    // Not valid: overlong, a surrogate, beyond Unicode, cut short in the middle and at the end.
    all += "\xC0\x80 \xE0\x9F\xBF \xF0\x8F\xBF\xBF \xED\xA0\x80 \xF4\x90\x80\x80 \xE2\x82 \xF0\x9F\x8E";
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    writeText(writer, all);

    std::ofstream(folder.path() / "expected") << all;
    EXPECT_EQ(asked("bad, lines[1]['text'].encode('utf-8', 'surrogateescape') == open('" +
                    (folder.path() / "expected").string() + "', 'rb').read()"),
              "(0, True)");
    EXPECT_EQ(asked("lines[1]['text'] == open('" + (folder.path() / "expected").string() +
                    "', encoding='utf-8', errors='surrogateescape', newline='').read()"),
              "True");
}

TEST_F(Writer, WritesLinesOfAnyLength) {
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    for (const std::size_t size : {1900U, 2000U, 2048U, 4096U, 3U << 20U})
        writeText(writer, std::string(size, 'x'));

    EXPECT_EQ(asked("bad, [len(line['text']) for line in of('log')]"), "(0, [1900, 2000, 2048, 4096, 3145728])");
}

TEST_F(Writer, DoesNotMixLinesOfProcessesAndThreads) {
    const auto write = [this] {
        RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 3; ++thread)
            threads.emplace_back([&writer] {
                for (std::size_t i = 0; i < 300; ++i)
                    writeText(writer, std::string(i, 'x'));
            });
    };
    const pid_t other = startProcess(write);
    EXPECT_EQ(inProcess(write), 0);
    waitpid(other, nullptr, 0);

    EXPECT_EQ(asked("bad, len(of('begin')), len(of('log'))"), "(0, 2, 1800)");
    EXPECT_EQ(asked("len({line['th'] for line in of('log')})"), "6");
}

TEST_F(Writer, KeepsWhatAKilledProcessWrote) {
    const pid_t process = startProcess([this] {
        RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
        for (;;)
            writeText(writer, "again and again");
    });
    std::error_code none;
    EXPECT_TRUE(eventually([&] { return fs::file_size(file, none) > 100000 && !none; }));
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);

    EXPECT_EQ(asked("bad, len(lines) > 1000"), "(0, True)");
}

TEST_F(Writer, BeginsAgainInAFork) {
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    writeText(writer, "before");
    EXPECT_EQ(inProcess([&writer] { writeText(writer, "in the fork"); }), 0);
    writeText(writer, "after");

    EXPECT_EQ(asked("[line.get('text', line['k']) for line in lines]"),
              "['begin', 'before', 'begin', 'in the fork', 'after']");
    EXPECT_EQ(asked("lines[2]['p'] == lines[3]['p'] == lines[3]['th'] != lines[1]['p'] == lines[4]['p']"), "True");
    EXPECT_EQ(asked("'again' in lines[2]"), "False");
}

TEST_F(Writer, KeepsToItsFileInAnotherFolder) {
    EXPECT_EQ(inProcess([this] {
                  fs::current_path(folder.path());
                  RecordingWriter writer("run.jsonl", kDefaultLimit, trace::role::kApplication);
                  fs::current_path("/");
                  writeText(writer, "elsewhere");
              }),
              0);

    EXPECT_EQ(asked("[line['text'] for line in of('log')]"), "['elsewhere']");
}

TEST_F(Writer, KeepsToTheLimitTogetherWithOthers) {
    const auto write = [this] {
        RecordingWriter writer(file, kLowestLimit, trace::role::kApplication);
        for (int i = 0; i < 3000; ++i)
            writeText(writer, std::string(500, 'x'));
        writer.end();
    };
    std::vector<pid_t> processes;
    for (int i = 0; i < 3; ++i)
        processes.push_back(startProcess(write));
    for (const pid_t process : processes)
        waitpid(process, nullptr, 0);

    // What each process adds before it looks again is beyond the limit.
    EXPECT_LE(fs::file_size(file) + fs::file_size(old), kLowestLimit * 3 / 2);
    EXPECT_GE(fs::file_size(old), kLowestLimit / 2);
    const std::string begunBefore = "all(next(other for other in lines if other['p'] == line['p'])['k'] == 'begin' "
                                    "for line in lines)";
    for (const fs::path& each : {file, old}) {
        EXPECT_EQ(ask(each, "bad, " + begunBefore), "(0, True)") << each;
        EXPECT_EQ(ask(each, "all(line.get('again') for line in of('begin'))"), "True") << each;
    }
    EXPECT_EQ(asked("lines[-1]['k']"), "end");
}

TEST_F(Writer, GoesOnInAFileThatAnotherProcessHasBegun) {
    RecordingWriter writer(file, kLowestLimit, trace::role::kApplication);
    writeText(writer, "early");
    fs::rename(file, old);
    fs::remove(old);
    std::ofstream(file) << "{}\n";
    std::this_thread::sleep_for(std::chrono::milliseconds(11)); // within 10 ms it need not notice
    writeText(writer, "late");

    EXPECT_EQ(fileBytes(file).substr(0, 3), "{}\n");
    EXPECT_EQ(asked("[line.get('text', line['k']) for line in lines], lines[0]['again']"), "(['begin', 'late'], True)");
}

TEST_F(Writer, CountsTheLinesForWhichThereWasNoRoom) {
    const fs::path small = folder.path() / "small";
    fs::create_directory(small);
    ASSERT_EQ(mount("tmpfs", small.c_str(), "tmpfs", 0, "size=64k"), 0) << std::strerror(errno);
    file = small / "run.jsonl";
    std::ofstream(small / "other") << std::string(40960, 'x') << std::flush;
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    for (int i = 0; i < 200; ++i)
        writeText(writer, std::string(200, 'x'));
    fs::remove(small / "other");
    writeText(writer, "there is room");

    EXPECT_EQ(asked("of('lost')[0]['n'] + len(of('log')), len(of('lost'))"), "(201, 1)");
    EXPECT_EQ(asked("bad <= 1, lines[-2]['k'], lines[-1]['text']"), "(True, 'lost', 'there is room')");
    umount2(small.c_str(), MNT_DETACH);
}

TEST_F(Writer, IsNotSentASignalForAFileThatMayNotGrow) {
    const int status = inProcess([this] {
        const rlimit limit{10000, 10000};
        setrlimit(RLIMIT_FSIZE, &limit);
        RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
        for (int i = 0; i < 100; ++i)
            writeText(writer, std::string(200, 'x'));
    });

    EXPECT_EQ(status, 0);
    EXPECT_EQ(asked("bad, 20 < len(of('log')) < 100"), "(0, True)");
}

TEST_F(Writer, SaysOnceThatItCannotWrite) {
    const fs::path nowhere = folder.path() / "no-folder" / "run.jsonl";
    const fs::path complaint = folder.path() / "complaint";
    EXPECT_EQ(inProcess([&] {
                  dup2(open(complaint.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
                  RecordingWriter writer(nowhere, kDefaultLimit, trace::role::kApplication);
                  writeText(writer, "one");
                  writeText(writer, "two");
              }),
              0);

    EXPECT_EQ(fileBytes(complaint),
              "nothing is recorded: cannot write " + nowhere.string() + ": No such file or directory\n");
}

TEST_F(Writer, TakesNoFileOfTheProgramsForItsOwn) {
    const fs::path other = folder.path() / "other";
    EXPECT_EQ(inProcess([&] {
                  RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
                  writeText(writer, "before");
                  for (int descriptor = 3; descriptor < 1024; ++descriptor)
                      close(descriptor);
                  const int opened = open(other.c_str(), O_WRONLY | O_CREAT, 0600);
                  for (int descriptor = opened + 1; descriptor < 1024; ++descriptor)
                      dup2(opened, descriptor);
                  std::this_thread::sleep_for(std::chrono::milliseconds(11)); // within 10 ms it need not notice
                  writeText(writer, "after");
              }),
              0);

    EXPECT_EQ(asked("[line['text'] for line in of('log')]"), "['before', 'after']");
    EXPECT_EQ(fileBytes(other), "");
}

TEST_F(Writer, LeavesErrnoAndCancellationAlone) {
    RecordingWriter writer(file, kDefaultLimit, trace::role::kApplication);
    bool isThrough = false;
    std::thread cancelled([&] {
        pthread_cancel(pthread_self());
        errno = EDOM;
        writeText(writer, "in a thread that is to end");
        isThrough = errno == EDOM;
    });
    cancelled.join();

    EXPECT_TRUE(isThrough);
    EXPECT_EQ(asked("len(of('log'))"), "1");
}

} // namespace
} // namespace velmora::trace_test

// zuv-desktop run --record and --trace: whole runs, with the platform's programs and a monitor on the bus.
#include "support/files.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "tools/trace/recording.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <string>

namespace velmora::trace_test {
namespace {

namespace fs = std::filesystem;
using desktop::TemporaryFolder;

const std::string kLauncher = ZUV_PROGRAMS_DIR "/zuv-desktop";
const std::string kClip = ZUV_TEST_MEDIA_DIR "/clip.webm";

class RecordedRun : public ::testing::Test {
protected:
    ProgramResult record(const std::string& command) const {
        return runInShell("ZUV_LOG_LEVEL=milestones " + kLauncher + " run --engine simulated --record " +
                          file.string() + " -- " + command);
    }

    std::string asked(const std::string& expression) const { return ask(file, expression); }

    /// Copies the launcher to a place where nothing is beside it but the service, the keeper and what a test adds.
    fs::path launcherElsewhere() const {
        const fs::path programs = folder.path() / "bin";
        fs::create_directory(programs);
        fs::copy_file(kLauncher, programs / "zuv-desktop");
        return programs / "zuv-desktop";
    }

    void putRecorderBesideIt() const {
        fs::create_directories(folder.path() / ZUV_LIBRARIES);
        fs::create_symlink(ZUV_TRACE, folder.path() / ZUV_LIBRARIES / "libzuv_trace.so");
    }

    TemporaryFolder folder;
    fs::path file = folder.path() / "run.jsonl";
};

class RecordedMode : public RecordedRun, public ::testing::WithParamInterface<const char*> {};

TEST_P(RecordedMode, TellsWhatAllProcessesDid) {
    const ProgramResult result = record(ZUV_PROGRAMS_DIR "/zuv-player " + std::string(GetParam()) + " " + kClip);

    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(asked("bad, sorted((line['role'], line['program']) for line in of('begin'))"),
              "(0, [('application', 'zuv-player'), ('keeper', 'zuv-keeper'), ('launcher', 'zuv-desktop'), "
              "('service', 'zuv-service')])");
    EXPECT_EQ(asked("sorted(line['p'] for line in of('begin')) == sorted(line['p'] for line in of('end'))"), "True");
    EXPECT_EQ(asked("[line['args'][0].split('/')[-1] for line in of('spawn')]"), "['dbus-daemon', 'zuv-player']");
    EXPECT_EQ(asked("{line['pid'] for line in of('exit')} == {line['pid'] for line in of('spawn')} | "
                    "{line['p'] for line in of('begin') if line['role'] in ('service', 'keeper')}"),
              "True");
    EXPECT_EQ(asked("{line['status'] for line in of('exit')}"), "{0}");
    EXPECT_EQ(asked("[line['text'][:5] for line in of('line')][0]"), "ready");
    EXPECT_EQ(asked("lines[0]['role'], lines[-1] == of('end')[-1], lines[-1]['p'] == lines[0]['p']"),
              "('launcher', True, True)");
}

TEST_P(RecordedMode, SeesThePublicationsOnBothWays) {
    record(ZUV_PROGRAMS_DIR "/zuv-player " + std::string(GetParam()) + " " + kClip);

    const auto onTheBus = [](const std::string& topic) {
        return "[line['values'] for line in of('bus') if line.get('topic', '').endswith('" + topic + "')]";
    };
    EXPECT_EQ(asked("[line['values'] for line in of('publish') if line['topic'].endswith('.command')] == " +
                    onTheBus(".command")),
              "True");
    // The player's two connections hear each event; it may end before the last.
    for (const char* connection : {"1", "2"})
        EXPECT_EQ(asked(std::string("(lambda heard, sent: len(heard) > 5 and heard == sent[:len(heard)])("
                                    "[line['values'] for line in of('deliver') if line['c'] == ") +
                        connection + "], " + onTheBus(".event") + ")"),
                  "True");
    EXPECT_EQ(asked("len(of('deliver')) == len(of('delivered')) > 10"), "True");
    EXPECT_EQ(asked("sorted({line['type'] for line in of('bus')})"), "['call', 'return', 'signal']");
    EXPECT_EQ(asked("'velmora.zuv.Service' in [line['strings'][0] for line in of('bus') "
                    "if line.get('member') == 'NameOwnerChanged']"),
              "True");
}

TEST_P(RecordedMode, SeesTheCallbacksOfAPlayerThatLoadsTheClient) {
    record(ZUV_PROGRAMS_DIR "/zuv-player " + std::string(GetParam()) + " " + kClip);

    EXPECT_EQ(asked("[line['name'] for line in of('call')][:2]"), "['setZUVCallback', 'setZUVAdCallback']");
    EXPECT_EQ(asked("of('call')[2]['r'] == of('callback')[0]['id'] != ''"), "True");
    EXPECT_EQ(asked("sorted({(line['medium'], line['key']) for line in of('callback')})"),
              "[('advertisement', 'url'), ('main_video', 'definitions'), ('main_video', 'url')]");
    EXPECT_EQ(asked("len(of('callback')) == len(of('returned'))"), "True");
}

INSTANTIATE_TEST_SUITE_P(, RecordedMode, ::testing::Values("", "--sync"),
                         [](const auto& tested) { return *tested.param == '\0' ? "Asynchronous" : "Synchronous"; });

TEST_F(RecordedRun, ShowsTheRegionOfSynchronousMode) {
    record(ZUV_PROGRAMS_DIR "/zuv-player --sync " + kClip);

    EXPECT_EQ(asked("shown(of('map')[0])"), "{'name': '/ZUV_PROXY', 'size': 4096, 'r': 0}");
    EXPECT_EQ(asked("shown(of('region')[0])"), "{'text': '{}', 'seen': 'map'}");
    EXPECT_EQ(asked("all(a['text'] != b['text'] for a, b in zip(of('region'), of('region')[1:]))"), "True");
    EXPECT_EQ(asked("{'created', 'started', 'stopped', 'seeked'} <= "
                    "{json.loads(line['text']).get('0') for line in of('region')}"),
              "True");
}

TEST_F(RecordedRun, KeepsWhatAKilledApplicationWrote) {
    const ProgramResult result =
        record("sh -c '" ZUV_PROGRAMS_DIR "/zuv-player " + kClip + " & until grep -q main_vide[o] " + file.string() +
               "; do sleep 0.01; done; kill -9 $!; wait $!'");

    EXPECT_EQ(result.status, 128 + SIGKILL);
    EXPECT_EQ(asked("bad, [line['role'] for line in of('begin') if line['p'] not in "
                    "[other['p'] for other in of('end')]]"),
              "(0, ['application'])");
}

TEST_F(RecordedRun, TellsWhichSignalEndedAChild) {
    EXPECT_EQ(record("sh -c 'kill -TERM $$'").status, 128 + SIGTERM);

    EXPECT_EQ(asked("[shown(line) for line in of('exit') if line['pid'] == of('spawn')[1]['pid']] == "
                    "[{'pid': of('spawn')[1]['pid'], 'signal': 15}]"),
              "True");
}

TEST_F(RecordedRun, ReplacesAnEarlierRecording) {
    std::ofstream(file) << "earlier\n";
    std::ofstream(file.string() + ".old") << "still earlier\n";

    EXPECT_EQ(record("true").status, 0);
    EXPECT_EQ(asked("bad, lines[0]['k']"), "(0, 'begin')");
    EXPECT_FALSE(fs::exists(file.string() + ".old"));
}

TEST_F(RecordedRun, IsForTheUsersEyesOnly) {
    EXPECT_EQ(record("true").status, 0);

    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(RecordedRun, PreloadsTheRecorderIntoTheCommand) {
    const ProgramResult result = runInShell("LD_PRELOAD=" ZUV_CALLBACK_CHECK " " + kLauncher + " run --record " +
                                            file.string() + " -- sh -c 'echo $LD_PRELOAD'");

    EXPECT_NE(result.output.find("/libzuv_trace.so:" ZUV_CALLBACK_CHECK "\n"), std::string::npos) << result.output;
}

TEST_F(RecordedRun, NeedsAFileThatTheRunCanSee) {
    const std::string run = kLauncher + " run --record ";
    ProgramResult result = runInShell(run + folder.path().string() + " -- true");
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.output, "zuv-desktop: cannot record into " + folder.path().string() + ": Is a directory\n");

    result = runInShell(run + "/dev/null -- true");
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.output, "zuv-desktop: cannot record into /dev/null: not a file\n");

    result = runInShell(run + "/dev/shm/run.jsonl --private-shm -- true");
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.output, "zuv-desktop: cannot record into /dev/shm/run.jsonl: the run has a /dev/shm of its own; "
                             "--shared-shm lets it use the machine's\n");
}

TEST_F(RecordedRun, SaysWhatIsMissing) {
    const std::string launcher = launcherElsewhere();
    ProgramResult result = runInShell(launcher + " run --record " + file.string() + " -- true");
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.output, "zuv-desktop: cannot record without " +
                                 (folder.path() / ZUV_LIBRARIES / "libzuv_trace.so").string() +
                                 ": No such file or directory\n");

    result = runInShell(launcher + " run --trace -- true");
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.output, "zuv-desktop: cannot show the run, for which " +
                                 (folder.path() / "bin/zuv-trace").string() +
                                 " is needed: No such file or directory\n");
}

TEST_F(RecordedRun, IsShownToItsEndOnStderr) {
    const std::string launcher = launcherElsewhere();
    putRecorderBesideIt();
    const fs::path viewer = folder.path() / "bin/zuv-trace";
    std::ofstream(viewer) << "#!/bin/sh\n"
                             "echo \"$1 $2\"\n"
                             "until grep -q '\"k\":\"end\"' $3; do sleep 0.01; done\n"
                             "grep -c '\"k\":\"exit\"' $3\n";
    fs::permissions(viewer, fs::perms::owner_all);

    const ProgramResult result = runInShell(launcher + " run --trace -- sh -c 'exit 5' 2>" + file.string());
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(fileBytes(file), "show --follow\n2\n");
}

TEST_F(RecordedRun, IsEitherShownOrRecorded) {
    const ProgramResult result = runInShell(kLauncher + " run --trace --record x -- true");

    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("--record and --trace exclude each other"), std::string::npos) << result.output;
}

} // namespace
} // namespace velmora::trace_test

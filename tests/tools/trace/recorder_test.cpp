// libzuv_trace.so in a process: what it records, and that the process does not notice.
#include "support/files.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "tools/trace/recording.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace velmora::trace_test {
namespace {

namespace fs = std::filesystem;
using desktop::TemporaryFolder;

class Recorder : public ::testing::Test {
protected:
    ProgramResult record(const std::string& command, const std::string& preloaded = ZUV_TRACE) const {
        return runInShell("ulimit -c 0; export ZUV_LOG_LEVEL=failures; LD_PRELOAD=" + preloaded +
                          " ZUV_TRACE_FILE=" + file.string() + " exec " + command);
    }

    /// Expects that the program says the same with the recorder as without it, and that its lines are whole.
    void recordUse(const std::string& use) const {
        const std::string command = std::string(ZUV_TRACED_APPLICATION) + " " + use;
        const ProgramResult plain = runInShell(command);
        const ProgramResult recorded = record(command);
        EXPECT_EQ(plain.status, 0) << plain.output;
        EXPECT_EQ(recorded.status, 0);
        EXPECT_EQ(recorded.output, plain.output);
        EXPECT_EQ(asked("bad, lines[0]['k'], lines[-1]['k']"), "(0, 'begin', 'end')");
    }

    std::string asked(const std::string& expression) const { return ask(file, expression); }

    /// The lines between the first and the last, in short: kind, connection, first value, result.
    std::string inShort() const {
        return asked(R"(" ".join(line["k"] + str(line.get("c", "")) + ":" * ("values" in line) +
                        "".join(line.get("values", [])[:1]) + ("=%d" % line["r"] if "r" in line else "")
                        for line in lines[1:-1]))");
    }

    TemporaryFolder folder;
    fs::path file = folder.path() / "run.jsonl";
};

TEST_F(Recorder, RecordsEveryOperationWithItsResult) {
    recordUse("everyOperation");

    EXPECT_EQ(inShort(), "connect1 initialize1=-107 start1=0 state1 startService1=0 read1:topic=7 "
                         "deliver1:a delivered1 publish1:a=3 disconnect1");
    EXPECT_EQ(asked("shown(of('publish')[0])"), "{'c': 1, 'topic': 'topic', 'values': ['a', '', 'b'], 'r': 3}");
    EXPECT_EQ(asked("shown(of('read')[0])"), "{'c': 1, 'topic': 'topic', 'values': ['topic', 'value'], 'r': 7}");
    EXPECT_EQ(asked("shown(of('deliver')[0])"), "{'c': 1, 'values': ['a', '', 'b', 'topic']}");
    EXPECT_EQ(asked("[list(line)[-2:] for line in of('publish', 'read', 'start')]"),
              "[['r', 'd'], ['r', 'd'], ['r', 'd']]");
    EXPECT_EQ(asked("of('publish')[0]['t'] <= of('deliver')[0]['t']"), "True");
    EXPECT_EQ(asked("of('publish')[0]['d'] >= of('delivered')[0]['d'] > 0"), "True");
    EXPECT_EQ(asked("lines[0]['role'], lines[0]['program'], lines[0]['args'][1:]"),
              "('application', 'traced_application', ['everyOperation'])");
}

TEST_F(Recorder, TellsConnectionsApart) {
    recordUse("twoConnections");

    EXPECT_EQ(inShort(), "connect1 connect2 deliver2:2 delivered2 publish2:2=3 deliver1:1 delivered1 publish1:1=3 "
                         "disconnect1 connect3 deliver3:3 delivered3 publish3:3=3 disconnect3 disconnect2");
}

TEST_F(Recorder, RecordsCallsInsideDeliveries) {
    recordUse("nested");

    EXPECT_EQ(inShort(), "connect1 deliver1:outer deliver1:inner delivered1 publish1:inner=3 delivered1 "
                         "publish1:outer=3 disconnect1");
}

TEST_F(Recorder, LetsExceptionsPass) {
    recordUse("exception");

    EXPECT_EQ(inShort(), "connect1 deliver1:thrown delivered1 publish1:thrown read1 disconnect1");
}

TEST_F(Recorder, OutlivesAConnectionThatEndsInItsCallback) {
    recordUse("endInCallback");

    EXPECT_EQ(inShort(), "connect1 deliver1:last disconnect1 delivered1 publish1:last=3 "
                         "connect2 deliver2:another delivered2 publish2:another=3 disconnect2");
}

TEST_F(Recorder, LetsAConstructorFail) {
    recordUse("failingConstructor");

    EXPECT_EQ(inShort(), "connect2 deliver2:works delivered2 publish2:works=3 disconnect2");
}

TEST_F(Recorder, KnowsAConnectionWhileItEnds) {
    recordUse("useWhileItEnds");

    EXPECT_EQ(inShort(), "connect1 disconnect1 deliver1:at the end connect2 deliver1:by the first delivered1 "
                         "publish1:by the first=3 deliver2:by the other delivered2 publish2:by the other=3 "
                         "delivered1 disconnect2");
}

TEST_F(Recorder, GivesNoClientWhereThereWasNone) {
    recordUse("withoutClient");

    EXPECT_EQ(inShort(), "connect1 start1=-22 disconnect1");
}

TEST_F(Recorder, RecordsAForkAsAProcessOfItsOwn) {
    recordUse("forked");

    EXPECT_EQ(asked("[sorted({line['p'] for line in of(kind)}) == sorted({line['p'] for line in lines}) "
                    "for kind in ('begin', 'publish', 'end')]"),
              "[True, True, True]");
    EXPECT_EQ(asked("len({line['p'] for line in lines})"), "2");
}

TEST_F(Recorder, RecordsTheLogOfACProgram) {
    const ProgramResult plain = runInShell("ZUV_LOG_LEVEL=failures " ZUV_LOG_IN_C " 2>&1 | cut -c30-");
    const ProgramResult recorded = record("sh -c '" ZUV_LOG_IN_C " 2>&1 | cut -c30-'");

    EXPECT_EQ(recorded.output, plain.output);
    EXPECT_EQ(asked("[(line.get('level'), line.get('module')) for line in of('log')]"),
              "[(1, 95), (1000, 18), (None, None), (None, None), (None, None), (None, None)]");
    EXPECT_EQ(asked("[line['text'] for line in of('log')[:2]]"), R"(['milestone 42%', 'failure\nin two lines 42%'])");
    EXPECT_EQ(asked("of('log')[2]['text'] == 'x' * 4999"), "True");
    EXPECT_EQ(asked("ascii([line['text'] for line in of('log')[3:]])"), R"(['no line end', '\n', 'a byte \udcff'])");
}

TEST_F(Recorder, SaysNothingOfOtherPrograms) {
    const ProgramResult result = record("sh -c 'ls /dev/shm > /dev/null; sleep 0.001; echo done'");

    EXPECT_EQ(result.output, "done\n");
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(Recorder, IsQuietWithoutAFile) {
    const ProgramResult result = runInShell("LD_PRELOAD=" ZUV_TRACE " " ZUV_TRACED_APPLICATION " nested");

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "event outer\nevent inner\n");
}

TEST_F(Recorder, LeavesTheProgramAloneWhenTheFileCannotBeWritten) {
    file = folder.path() / "no-folder" / "run.jsonl";
    const ProgramResult result = record(ZUV_TRACED_APPLICATION " nested");

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "nothing is recorded: cannot write " + file.string() +
                                 ": No such file or directory\nevent outer\nevent inner\n");
}

TEST_F(Recorder, RefusesALimitThatIsNone) {
    setenv("ZUV_TRACE_LIMIT", "1k", 1);
    const ProgramResult result = record(ZUV_TRACED_APPLICATION " nested");
    unsetenv("ZUV_TRACE_LIMIT");

    EXPECT_EQ(result.output.substr(0, result.output.find('\n')),
              "ZUV_TRACE_LIMIT=1k: not a number of bytes from 1048576; using 67108864");
    EXPECT_EQ(asked("bad, len(lines)"), "(0, 10)");
}

// The callback of an application that is linked with the client, which ends in the mistake that the other object finds.
TEST_F(Recorder, StandsBesideTheCheckOfCallbacks) {
    for (const char* preloaded : {ZUV_TRACE ":" ZUV_CALLBACK_CHECK, ZUV_CALLBACK_CHECK ":" ZUV_TRACE}) {
        fs::remove(file);
        const ProgramResult mistaken = record(ZUV_CALLBACK_MISTAKE " stop", preloaded);
        EXPECT_EQ(mistaken.status, 128 + SIGABRT) << preloaded;
        EXPECT_NE(mistaken.output.find("  operation: stop()\n"), std::string::npos) << mistaken.output;
        EXPECT_EQ(asked("bad, lines[-1]['k'], lines[-1]['key']"), "(0, 'callback', 'url')") << preloaded;

        fs::remove(file);
        const ProgramResult harmless = record(ZUV_CALLBACK_MISTAKE " nothing", preloaded);
        EXPECT_TRUE(harmless.output.starts_with("proxy object-1\nthread ")) << harmless.output;
        EXPECT_EQ(asked("[(line['name'], line['args'], line.get('r')) for line in of('call')]"),
                  "[('setZUVCallback', ['function'], None), ('createNewZUVMediaProxy', [], 'object-1')]");
        EXPECT_EQ(asked("bad, [line['k'] for line in of('callback', 'returned')]"), "(0, ['callback', 'returned'])");
    }
}

TEST_F(Recorder, DefinesNeitherTablesNorTypesOfThePlatformsClasses) {
    const ProgramResult symbols = runInShell("nm -D --defined-only -C " ZUV_TRACE);

    EXPECT_EQ(symbols.status, 0);
    EXPECT_NE(symbols.output.find("velmora::ZUVModelAccess::publish("), std::string::npos) << symbols.output;
    for (const char* kind : {"vtable", "typeinfo"})
        EXPECT_EQ(symbols.output.find(kind), std::string::npos) << symbols.output;
}

} // namespace
} // namespace velmora::trace_test

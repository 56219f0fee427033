#include "tools/trace/recording.h"

#include "support/processes.h"

namespace velmora::trace_test {
namespace {

constexpr const char* kReader = R"(
import json, sys

lines, bad = [], 0
with open(sys.argv[1], encoding="utf-8", newline="\n") as file:
    for text in file:
        try:
            line = json.loads(text)
            assert list(line)[:4] == ["t", "p", "th", "k"] and text.endswith("}\n")
            lines.append(line)
        except (ValueError, AssertionError):
            bad += 1

def of(*kinds):
    return [line for line in lines if line["k"] in kinds]

def shown(line):
    return {name: value for name, value in line.items() if name not in ("t", "p", "th", "k", "d")}

print(eval(sys.argv[2]), end="")
)";

} // namespace

std::string ask(const std::filesystem::path& file, const std::string& expression) {
    Launched python({"python3", "-IS", "-c", kReader, file.string(), expression});
    std::string answer = python.readRest();
    python.wait();
    return answer;
}

} // namespace velmora::trace_test

// disconnect_table: prints the disconnect matrix as Markdown, for docs/disconnect-matrix.md. In place of a
// cell's verdict stands its name, in braces.
#include "system/disconnect_cells.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace velmora::system_test {
namespace {

template <typename Value, std::size_t size>
std::string textOf(Value value, const std::array<const char*, size>& texts) {
    return texts.at(static_cast<std::size_t>(value));
}

std::string textOf(Operation operation) {
    return commandOf(operation);
}

std::string textOf(Kind kind) {
    return textOf(kind, std::array{"neither", "main video", "advertisement"});
}

std::string textOf(Mode mode) {
    return textOf(mode, std::array{"asynchronous", "synchronous"});
}

std::string textOf(Disturbance disturbance) {
    return textOf(disturbance, std::array{"killed", "frozen"});
}

std::string textOf(Moment moment) {
    return textOf(moment, std::array{"before", "during", "after"});
}

std::string textOf(Afterwards afterwards) {
    return textOf(afterwards, std::array{"not started again", "started again", "continued"});
}

std::string stateText(int state) {
    return textOf(state, std::array{"Idle", "Starting", "Started"});
}

std::string textOf(CallbackThread thread) {
    return textOf(thread, std::array{"delivery thread", "either thread", "the other thread"});
}

std::string textOf(const Callback& callback) {
    return (callback.medium == Medium::Advertisement ? "advertisement's `" : "`") + callback.changed + "` (" +
           textOf(callback.thread) + ")";
}

std::string textOf(const std::vector<Callback>& callbacks) {
    std::string text;
    for (const Callback& callback : callbacks)
        text += (text.empty() ? "" : ", then ") + textOf(callback);
    return text.empty() ? "none" : text;
}

std::string numbers(Range range) {
    std::string most = std::to_string(range.most);
    if (range.least == range.most)
        return most;
    return range.least == 0 ? "at most " + most : std::to_string(range.least) + " to " + most;
}

std::string duration(Range milliseconds) {
    return milliseconds.most == 0 ? "at once" : numbers(milliseconds) + " ms";
}

void printRow(const std::vector<std::string>& entries) {
    std::string row = "|";
    for (const std::string& entry : entries)
        row += " " + entry + " |";
    std::puts(row.c_str());
}

void printHeading(const std::vector<std::string>& names) {
    printRow(names);
    printRow(std::vector<std::string>(names.size(), "---"));
}

void printCell(const Cell& cell) {
    const Promise& promise = promiseOf(cell);
    printRow({textOf(cell.disturbance) + " " + textOf(cell.moment) + ", " + textOf(cell.afterwards),
              textOf(outcomeOf(cell)), promise.returned.empty() ? "nothing" : promise.returned,
              stateText(promise.state) + ", " + stateText(promise.adState), promise.localUrl ? "yes" : "no",
              textOf(promise.callbacks), numbers(promise.commands), std::to_string(promise.restarts),
              duration(promise.milliseconds), "{" + nameOf(cell) + "}"});
}

bool isOfOneTable(const Cell& one, const Cell& other) {
    return one.operation == other.operation && one.kind == other.kind && one.mode == other.mode;
}

void printTableHeading(const Cell& cell) {
    const std::string kind = cell.kind == Kind::None ? "" : ", " + textOf(cell.kind);
    std::printf("\n### %s%s, %s\n\n", textOf(cell.operation).c_str(), kind.c_str(), textOf(cell.mode).c_str());
    printHeading({"The service is", "The command is", "The call returns", "States: main, ad", "Local URL", "Callbacks",
                  "Commands", "Restarts", "The call takes", "Verdict"});
}

void printCells() {
    std::puts("## The cells");
    const Cell* before = nullptr;
    const std::vector<Cell> cells = allCells();
    for (const Cell& cell : cells) {
        if (before == nullptr || !isOfOneTable(*before, cell))
            printTableHeading(cell);
        printCell(cell);
        before = &cell;
    }
}

template <typename Value>
std::string textOfAny(const std::vector<Value>& values) {
    std::string text;
    for (const Value value : values)
        text += (text.empty() ? "" : " or ") + textOf(value);
    return text.empty() ? "any" : text;
}

void printAbsence(const Absence& absence) {
    const std::vector<Cell> all = allCombinations();
    const auto count =
        std::count_if(all.begin(), all.end(), [&](const Cell& cell) { return absenceOf(cell) == &absence; });
    const Pattern& pattern = absence.pattern;
    printRow({textOfAny(pattern.operations), textOfAny(pattern.kinds), textOfAny(pattern.modes),
              textOfAny(pattern.disturbances), textOfAny(pattern.moments), textOfAny(pattern.afterwards),
              std::to_string(count), absence.reason});
}

void printAbsences() {
    std::printf("\n## Combinations that do not exist\n\nOf %zu combinations, %zu are cells. The others, each counted "
                "in the first row that fits:\n\n",
                allCombinations().size(), allCells().size());
    printHeading({"Operation", "Of", "Mode", "The service is", "When", "Then", "Combinations", "Why not"});
    for (const Absence& absence : absences())
        printAbsence(absence);
}

} // namespace
} // namespace velmora::system_test

int main() {
    velmora::system_test::printCells();
    velmora::system_test::printAbsences();
}

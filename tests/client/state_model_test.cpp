// Random walks of a proxy: after each step, what it did and what it keeps, against the table of its states.
#include "client/client_test.h"
#include "support/files.h"
#include "support/mode.h"

#include <json/json.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace velmora::test {
namespace {

#ifdef ZUV_EMULATED
constexpr int kSteps = 1000;
#else
constexpr int kSteps = 5000;
#endif

constexpr const char* kObject = "movie";
constexpr std::size_t kPollsOfAnUnansweredRequest = 5;

/// Of the events that concern a proxy.
const std::set<std::string> kEventNames = {"started", "stopped", "seeked", "definition"};

using Members = std::map<std::string, std::string>;

std::string entryOf(const Strings& event, std::size_t position) {
    return position < event.size() ? event[position] : "";
}

/// tools/trace/zuv_trace/state_model.json, and the fields of a proxy that does what it says.
class Model {
public:
    Model() {
        EXPECT_TRUE(Json::Reader().parse(fileBytes(ZUV_STATE_MODEL), m_table));
        for (const std::string& field : m_table["initial"].getMemberNames())
            fields[field] = m_table["initial"][field].asString();
    }

    /// Changes the fields as the entry for this input says. @return the entry
    const Json::Value& take(const Members& input) {
        const Json::Value& entry = entryFor(input);
        for (const std::string& field : entry["sets"].getMemberNames()) {
            const std::string value = entry["sets"][field].asString();
            fields[field] = value.starts_with('$') ? input.at(value.substr(1)) : value;
        }
        for (const Json::Value& call : entry["callbacks"])
            callbacks.push_back(calledBack(call[0] == "main_video" ? "main" : "ad", kObject, call[1].asString(),
                                           fields.at(call[2].asString())));
        return entry;
    }

    /// What the table's inputs say of an event.
    static Members inputOf(const Strings& event) {
        const bool concernsObject = entryOf(event, 3) == kObject && kEventNames.contains(entryOf(event, 0));
        return {{"event", concernsObject ? entryOf(event, 0) : "other"},
                {"code", entryOf(event, 1) == "200" ? "200" : "other"},
                {"medium", entryOf(event, 9) == "advertisement" ? "advertisement" : "main_video"},
                {"url", entryOf(event, 6)},
                {"definitions", entryOf(event, 7)}};
    }

    std::string answerTo(const std::string& command) const { return m_table["answers"][command].asString(); }
    int numberOf(const std::string& state) const { return m_table["states"].get(fields.at(state), -1).asInt(); }

    void expectEveryEntryTaken() const {
        for (Json::ArrayIndex i = 0; i < m_table["transitions"].size(); ++i)
            EXPECT_TRUE(m_taken.contains(i)) << "no step took " << m_table["transitions"][i];
    }

    Members fields;
    Strings callbacks;

private:
    const Json::Value& entryFor(const Members& input) {
        std::vector<Json::ArrayIndex> found;
        const Json::Value& entries = m_table["transitions"];
        for (Json::ArrayIndex i = 0; i < entries.size(); ++i)
            if (concerns(entries[i], input) && isFrom(entries[i]))
                found.push_back(i);
        EXPECT_EQ(found.size(), 1u) << "entries for one input";
        if (found.empty())
            return Json::Value::nullSingleton();
        m_taken.insert(found.front());
        return entries[found.front()];
    }

    static bool concerns(const Json::Value& entry, const Members& input) {
        const auto names = entry["input"].getMemberNames();
        return std::ranges::all_of(names, [&](const std::string& name) {
            const auto found = input.find(name);
            return found != input.end() && found->second == entry["input"][name].asString();
        });
    }

    bool isFrom(const Json::Value& entry) const {
        const auto names = entry["from"].getMemberNames();
        return std::ranges::all_of(names, [&](const std::string& field) {
            const Json::Value& wanted = entry["from"][field];
            const std::string& value = fields.at(field);
            if (wanted.isString())
                return wanted == (value.empty() ? "empty" : "set");
            return std::ranges::find(wanted, Json::Value(value)) != wanted.end();
        });
    }

    Json::Value m_table;
    std::set<Json::ArrayIndex> m_taken;
};

class StateModel : public ObjectTest, public ::testing::WithParamInterface<Mode> {
protected:
    StateModel() : m_random(GetParam() == Mode::Synchronous ? 2 : 1) {
        if (isSynchronous())
            enterSynchronousMode();
        bus().onPublish = [this](const std::string& topic, const Strings& values) { notePublished(topic, values); };
    }

    /// A call of the application or an event, and what is expected of it.
    void step() {
        journal().clear();
        m_published.clear();
        model.callbacks.clear();
        m_expectedPublished.clear();
        m_expectedSleeps = 0;
        m_answer.reset();
        leaveCurrentEvent();
        if (m_random() % 2 == 0)
            callOperation();
        else
            hearEvent();
        expectSame();
    }

    Model model;

private:
    static bool isSynchronous() { return GetParam() == Mode::Synchronous; }

    template <std::size_t n>
    std::string oneOf(const char* const (&texts)[n]) {
        return texts[m_random() % n];
    }

    std::string newText() { return m_random() % 3 == 0 ? "" : "text " + std::to_string(m_random()); }

    Strings randomEvent() {
        Strings event = {
            oneOf({"started", "started", "started", "stopped", "seeked", "definition", "status", "Started"}),
            oneOf({"200", "200", "500", "200 ", ""}),
            "another session",
            oneOf({kObject, kObject, kObject, "movie2", "Movie"}),
            "",
            "",
            newText(),
            newText(),
            "detail",
            oneOf({"main_video", "main_video", "advertisement", "advertisement", "Advertisement", ""}),
            ""};
        if (m_random() % 16 == 0)
            event.resize(m_random() % event.size());
        return event;
    }

    /// What a start with option 0 reads.
    void leaveCurrentEvent() {
        m_currentEvent = randomEvent();
        if (isSynchronous())
            eventRegion().writeEvent(m_currentEvent);
        else
            bus().topicValue = m_currentEvent;
    }

    void hearEvent() {
        const Strings event = randomEvent();
        SCOPED_TRACE(listed(event));
        bus().deliverHere(event);
        expectOutcomeOf(model.take(Model::inputOf(event)));
    }

    void callOperation() {
        const std::pair<Members, std::function<void()>> operations[] = {
            {{{"operation", "start"}, {"option", "other"}}, [this] { object->start("url", 7); }},
            {{{"operation", "start"}, {"option", "0"}}, [this] { object->start("url", 0); }},
            {{{"operation", "stop"}}, [this] { object->stop(); }},
            {{{"operation", "pause"}}, [this] { object->pause(); }},
            {{{"operation", "seek"}}, [this] { object->seek(1.0, "text"); }},
            {{{"operation", "preload"}}, [this] { object->preload(1.0, "a", "b", "c"); }},
            {{{"operation", "startAd"}, {"option", "other"}}, [this] { object->startAd("url", -1); }},
            {{{"operation", "startAd"}, {"option", "0"}}, [this] { object->startAd("url", 0); }},
            {{{"operation", "stopAd"}}, [this] { object->stopAd(); }},
            {{{"operation", "preloadAd"}}, [this] { object->preloadAd("a", "c"); }}};
        const auto& [input, call] = operations[m_random() % std::size(operations)];
        call();
        expectOutcomeOf(model.take(input));
    }

    void expectOutcomeOf(const Json::Value& entry) {
        if (entry["publishes_neutral_event"].asBool())
            m_expectedPublished.push_back(publication(kEventTopic, "unknown", "", ""));
        if (entry.isMember("command"))
            m_expectedPublished.push_back(
                publication(kCommandTopic, entry["command"][0].asString(), entry["command"][1].asString(), kObject));
        if (entry["reads_current_event"].asBool())
            model.take(Model::inputOf(m_currentEvent));
        if (isSynchronous() && entry.isMember("command") && !m_answer)
            m_expectedSleeps = kPollsOfAnUnansweredRequest;
        if (m_answer)
            model.take(Model::inputOf(*m_answer));
    }

    static std::string publication(const std::string& topic, const std::string& name, const std::string& kind,
                                   const std::string& object) {
        return listed({topic, name, kind, object});
    }

    /// A request in synchronous mode mostly finds its answer in the region.
    void notePublished(const std::string& topic, const Strings& values) {
        m_published.push_back(publication(topic, entryOf(values, 0), entryOf(values, 1), entryOf(values, 3)));
        if (!isSynchronous() || topic != kCommandTopic || m_random() % 4 == 0)
            return;
        m_answer = randomEvent();
        m_answer->resize(11);
        m_answer->at(0) = model.answerTo(values[0]);
        m_answer->at(2) = values[2];
        eventRegion().writeEvent(*m_answer);
    }

    void expectSame() {
        EXPECT_EQ(object->getState(), model.numberOf("state"));
        EXPECT_EQ(object->getAdState(), model.numberOf("adState"));
        EXPECT_EQ(object->localURL(), model.fields["localURL"]);
        EXPECT_EQ(object->localAdURL(), model.fields["localAdURL"]);
        EXPECT_EQ(object->m_definitions, model.fields["definitions"]);
        EXPECT_EQ(asText(m_published), asText(m_expectedPublished));
        EXPECT_EQ(journal().count(slept(kPollInterval)), m_expectedSleeps);
        EXPECT_EQ(asText(journal().linesOf("callback")), asText(model.callbacks));
    }

    std::minstd_rand m_random;
    Strings m_currentEvent;
    std::optional<Strings> m_answer;
    Strings m_published;
    Strings m_expectedPublished;
    std::size_t m_expectedSleeps = 0;
};

TEST_P(StateModel, IsWhatTheProxyDoes) {
    for (int i = 0; i < kSteps && !HasFailure(); ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        step();
    }
    if (!HasFailure())
        model.expectEveryEntryTaken();
}

INSTANTIATE_TEST_SUITE_P(Modes, StateModel, ::testing::Values(Mode::Asynchronous, Mode::Synchronous),
                         ::testing::PrintToStringParamName());

} // namespace
} // namespace velmora::test

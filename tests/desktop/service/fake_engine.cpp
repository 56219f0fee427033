#include "desktop/service/fake_engine.h"

#include "service/protocol/result_code.h"

namespace velmora::desktop {

class FakePlayback final : public MediaPlayback {
public:
    FakePlayback(FakeEngine& engine, std::string name) : m_engine(engine), m_name(std::move(name)) {}
    ~FakePlayback() override { m_engine.note("end " + m_name); }

    void seek(double position, std::stop_token) override {
        if (m_engine.failing)
            throw CommandFailure(ResultCode::Unplayable, "It cannot be sought");
        m_engine.note("seek " + m_name + " to " + std::to_string(position));
    }

    std::optional<int> videoHeight() const override {
        return m_engine.height == 0 ? std::nullopt : std::optional<int>(m_engine.height);
    }

    MediaAddress address() const override { return m_engine.address; }

private:
    FakeEngine& m_engine;
    const std::string m_name;
};

std::unique_ptr<MediaPlayback> FakeEngine::open(const MediaLocation& location, double position, std::stop_token stop) {
    {
        const MutexLock lock(m_mutex);
        m_waiting = m_held;
        m_changed.notifyAll();
        if (!m_changed.wait(m_mutex, stop, [this]() ZUV_REQUIRES(m_mutex) { return !m_held; }))
            throw CommandFailure(ResultCode::Internal, "Interrupted");
    }
    if (failing)
        throw CommandFailure(ResultCode::Unplayable, "It cannot be played");
    const std::string name = location.file.filename();
    note("open " + name + " at " + std::to_string(position));
    return std::make_unique<FakePlayback>(*this, name);
}

std::vector<std::string> FakeEngine::journal() {
    const MutexLock lock(m_mutex);
    return m_journal;
}

void FakeEngine::hold() {
    const MutexLock lock(m_mutex);
    m_held = true;
}

void FakeEngine::awaitHeld() {
    const MutexLock lock(m_mutex);
    m_changed.wait(m_mutex, [this]() ZUV_REQUIRES(m_mutex) { return m_waiting; });
}

void FakeEngine::release() {
    const MutexLock lock(m_mutex);
    m_held = m_waiting = false;
    m_changed.notifyAll();
}

void FakeEngine::note(const std::string& entry) {
    const MutexLock lock(m_mutex);
    m_journal.push_back(entry);
}

} // namespace velmora::desktop

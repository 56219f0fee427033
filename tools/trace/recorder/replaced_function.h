// Functions that this object defines in place of a library's, and the library's own.
#ifndef ZUV_TRACE_RECORDER_REPLACED_FUNCTION_H
#define ZUV_TRACE_RECORDER_REPLACED_FUNCTION_H

#include <atomic>

/// Behind a declaration: the function is defined under `symbol`, for everybody. Functions of C++ are named like this
/// because to define a member of a class would define the table of its virtual functions as well.
#define ZUV_REPLACES(symbol) __asm__(symbol) __attribute__((visibility("default")))

namespace velmora::trace {

/// @return the next definition of `symbol` behind this object's own. Ends the process when there is none: it would not
///     have started without this object.
void* nextDefinition(const char* symbol);

/// The function that one of this object's stands in front of. Any thread.
template <typename Function>
class Replaced {
public:
    constexpr explicit Replaced(const char* symbol) : m_symbol(symbol) {}

    Function* original() {
        void* known = m_address.load(std::memory_order_relaxed);
        if (known == nullptr) {
            known = nextDefinition(m_symbol);
            m_address.store(known, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function*>(known);
    }

private:
    const char* m_symbol;
    std::atomic<void*> m_address{nullptr};
};

} // namespace velmora::trace

#endif // ZUV_TRACE_RECORDER_REPLACED_FUNCTION_H

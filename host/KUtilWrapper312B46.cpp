#include "host/HostMemory.h"
#include "host/KDocWrappers.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>

namespace {

// The host's script entry point: a cdecl C function of six 32-bit arguments.
// In the 64-bit build it is called as a native function of six uint32_t
// arguments, which is how a host below 4 GiB that follows the native calling
// convention receives them.
#if defined(__i386__)
using ScriptEntry = int(__attribute__((cdecl)) *)(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                                  std::uint32_t, std::uint32_t);
#else
using ScriptEntry = int (*)(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t);
#endif

// The version the entry point is told, as the bit pattern of a float.
constexpr float kScriptVersion = 3.12f;
constexpr std::uint32_t kScriptCommand = 7;

// A copy of a script in memory below 4 GiB, for a script whose own text lies
// above (64-bit build only); empty when no such memory can be had.
class LowScriptCopy {
public:
    explicit LowScriptCopy(const char* text) {
#if defined(MAP_32BIT) && UINTPTR_MAX > 0xFFFFFFFFu
        m_bytes = std::strlen(text) + 1;
        void* memory = mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
        if (memory == MAP_FAILED) return;
        if (!toHostAddress(memory, m_address)) {
            munmap(memory, m_bytes);
            return;
        }
        std::memcpy(memory, text, m_bytes);
        m_memory = memory;
#else
        (void)text;
#endif
    }
    ~LowScriptCopy() {
        if (m_memory != nullptr) munmap(m_memory, m_bytes);
    }
    LowScriptCopy(const LowScriptCopy&) = delete;
    LowScriptCopy& operator=(const LowScriptCopy&) = delete;

    bool valid() const { return m_memory != nullptr; }
    HostAddress address() const { return m_address; }

private:
    void* m_memory = nullptr;
    std::size_t m_bytes = 0;
    HostAddress m_address = 0;
};

int callEntry(KUtility* utility, HostAddress script) {
    const auto entry = reinterpret_cast<ScriptEntry>(reinterpret_cast<std::uintptr_t>(utility));
    return entry(std::bit_cast<std::uint32_t>(kScriptVersion), kScriptCommand, 0, 0, script, 0);
}

}  // namespace

KUtilWrapper312B46& KUtilWrapper312B46::instance() {
    static KUtilWrapper312B46 wrapper;
    return wrapper;
}

bool KUtilWrapper312B46::runKScript(KUtility* utility, const QMString& script) {
    if (utility == nullptr) return false;
    const char* text = script.c_str();
    // A null script is passed as a null address.
    HostAddress address = 0;
    if (text == nullptr || toHostAddress(text, address)) return callEntry(utility, address) == 0;
    // The host takes the script as a 32-bit address: text above 4 GiB (64-bit
    // build) is handed over as a copy below 4 GiB, or the call is refused.
    LowScriptCopy copy(text);
    if (!copy.valid()) return false;
    return callEntry(utility, copy.address()) == 0;
}

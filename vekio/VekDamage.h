#pragma once

#include <cstdint>
#include <vector>

// What a reader met in a damaged Vek file while still reading what was there.
// Readers given a VekDamageReport (QMVekIO::setDamageReport) add one entry a
// damaged block; without one they read exactly the same, silently.
struct VekDamage {
    enum class Kind {
        kBodyShorterThanCount,  // the file ends inside the body: the missing elements read as zero
        kCountClamped,          // a count far beyond the bytes present was cut down to them
        kBlockSizeInvalid,      // a block size below 16 ended the walk (nothing after it is read)
    };
    Kind kind;
    std::uint32_t tag;       // the block's tag
    std::uint64_t elements;  // what is missing (or cut off), in the unit of the block's count (a face
                             // for Face4 and UV4); a partly present one counts; 0 for kBlockSizeInvalid
};

class VekDamageReport {
public:
    void add(const VekDamage& damage) { m_entries.push_back(damage); }
    const std::vector<VekDamage>& entries() const { return m_entries; }
    void clear() { m_entries.clear(); }

private:
    std::vector<VekDamage> m_entries;
};

#ifndef FUZZ_CHANNEL_DAMAGE_H
#define FUZZ_CHANNEL_DAMAGE_H

#include "zunic_hosting/channel_format.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// One change to a channel, in 12 bytes of the fuzzer's input.
struct Damage
{
    /// In `operation`: not before the tool attaches, but between its snapshot and its report.
    static constexpr std::uint8_t cLate = 0x80;

    std::uint8_t kind;      ///< of record, modulo the number of kinds
    std::uint8_t element;   ///< the record: one of the first ones; from 0x80 on, one of the last two
    std::uint8_t field;     ///< a named field of the record; behind these, its 64-bit words
    std::uint8_t operation; ///< modulo 3: set, add, exclusive or
    std::uint8_t operand[8];
};

static_assert(sizeof(Damage) == 12);

/// Damages a channel and puts it right again. Only the registry mutex and the places that nobody reads stay as they
/// are.
class DamagedChannel
{
public:
    /// `bytes`: all of the channel's object, as mapped for writing. `functions`: where a function storage lies.
    DamagedChannel(std::span<std::byte> bytes, oxa_zunic_range_location functions);

    /// Applies those of `damages` that are, or are not, late. Bytes that fill no whole Damage are left out.
    void apply(std::span<const std::uint8_t> damages, bool late);

    /// True while nothing has changed that a process looks at when it attaches.
    bool isGeometrySound() const;

    /// Undoes everything that was applied.
    void restore();

private:
    std::span<std::byte> field(const Damage& damage) const;
    bool isAsItWas(std::size_t offset, std::size_t size) const;

    std::span<std::byte> mBytes;
    std::vector<std::byte> mOriginal;
    ZunicFormat::Superblock mSuperblock;
    std::size_t mFunctionStorage; ///< counted from the start of the object
    std::vector<std::span<std::byte>> mDamaged;
};

#endif

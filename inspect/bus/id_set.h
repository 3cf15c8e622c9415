#ifndef INSPECT_BUS_ID_SET_H
#define INSPECT_BUS_ID_SET_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <vector>

namespace Inspect {

/// Ids of interfaces in ascending order, each once. Needs eight bytes for each block of 48 ids that has any: all ids of
/// a channel need 176 bytes, where its bit field has 128.
class IdSet
{
public:
    class Iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::uint16_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = value_type;

        Iterator() = default;
        explicit Iterator(const std::uint64_t* block, const std::uint64_t* end)
            : mBlock(block), mIdsLeft(block == end ? 0 : *block & cIdMask), mEnd(end)
        {}

        value_type operator*() const
        {
            return static_cast<value_type>((*mBlock >> cBlockSize) * cBlockSize +
                                           static_cast<unsigned>(std::countr_zero(mIdsLeft)));
        }
        Iterator& operator++()
        {
            mIdsLeft &= mIdsLeft - 1;
            return mIdsLeft == 0 ? *this = Iterator(mBlock + 1, mEnd) : *this;
        }
        Iterator operator++(int)
        {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator& other) const = default;

    private:
        const std::uint64_t* mBlock = nullptr;
        std::uint64_t mIdsLeft = 0; ///< of the block; never none before the end
        const std::uint64_t* mEnd = nullptr;
    };
    using iterator = Iterator;
    using const_iterator = Iterator;
    using value_type = std::uint16_t;

    IdSet() = default;
    /// In ascending order.
    IdSet(std::initializer_list<std::uint16_t> ids) : IdSet(ids.begin(), ids.end()) {}
    template <typename Ids>
    IdSet(Ids begin, Ids end)
    {
        for (; begin != end; ++begin) {
            append(*begin);
        }
    }

    Iterator begin() const { return Iterator(mBlocks.data(), mBlocks.data() + mBlocks.size()); }
    Iterator end() const { return Iterator(mBlocks.data() + mBlocks.size(), mBlocks.data() + mBlocks.size()); }
    bool empty() const { return mBlocks.empty(); }
    std::size_t size() const
    {
        std::size_t ids = 0;
        for (const std::uint64_t block : mBlocks) {
            ids += static_cast<std::size_t>(std::popcount(block & cIdMask));
        }
        return ids;
    }

    /// The same for equal sets, and for no others.
    std::span<const std::uint64_t> key() const { return mBlocks; }

    /// Adds an id that is higher than all others.
    void append(std::uint16_t id)
    {
        const std::uint64_t number = id / cBlockSize;
        if (mBlocks.empty() || mBlocks.back() >> cBlockSize != number) {
            mBlocks.push_back(number << cBlockSize);
        }
        mBlocks.back() |= std::uint64_t{1} << id % cBlockSize;
    }

    bool operator==(const IdSet& other) const = default;

private:
    static constexpr unsigned cBlockSize = 48; ///< ids of a block, a bit each; the number of the block is in the rest
    static constexpr std::uint64_t cIdMask = (std::uint64_t{1} << cBlockSize) - 1;

    std::vector<std::uint64_t> mBlocks;
};

} // namespace Inspect

#endif

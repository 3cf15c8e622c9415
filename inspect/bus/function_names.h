#ifndef INSPECT_BUS_FUNCTION_NAMES_H
#define INSPECT_BUS_FUNCTION_NAMES_H

#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Inspect {

/// Names of functions by position, as bytes. Copies share the names: all interfaces of a bus may have one function
/// storage.
class FunctionNames
{
public:
    class Iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::string;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = value_type;

        Iterator() = default;
        Iterator(const FunctionNames& names, std::size_t position) : mNames(&names), mPosition(position) {}

        std::string operator*() const { return mNames->name(mPosition); }
        Iterator& operator++()
        {
            ++mPosition;
            return *this;
        }
        Iterator operator++(int) { return {*mNames, mPosition++}; }
        bool operator==(const Iterator& other) const = default;

    private:
        const FunctionNames* mNames = nullptr;
        std::size_t mPosition = 0;
    };
    using iterator = Iterator;
    using const_iterator = Iterator;
    using value_type = std::string;

    FunctionNames() = default;
    FunctionNames(std::initializer_list<std::string_view> names)
        : FunctionNames(made([&](const auto& add) {
              for (const std::string_view name : names) {
                  add(name);
              }
          }))
    {}

    /// Calls `addAll` with a function that adds a name. All names together have less than 4 GiB.
    template <typename AddAll>
    static FunctionNames made(AddAll addAll)
    {
        const auto text = std::make_shared<Text>();
        addAll([&](std::string_view name) {
            text->mBytes += name;
            text->mEnds.push_back(static_cast<std::uint32_t>(text->mBytes.size()));
        });
        FunctionNames names;
        names.mText = text;
        return names;
    }

    std::size_t size() const { return mText->mEnds.size(); }
    bool empty() const { return size() == 0; }
    /// Of all names.
    std::size_t bytes() const { return mText->mBytes.size(); }
    Iterator begin() const { return {*this, 0}; }
    Iterator end() const { return {*this, size()}; }

    bool operator==(const FunctionNames& other) const { return mText == other.mText || *mText == *other.mText; }
    std::strong_ordering operator<=>(const FunctionNames& other) const
    {
        return mText == other.mText ? std::strong_ordering::equal : *mText <=> *other.mText;
    }

private:
    struct Text
    {
        std::string mBytes;
        std::vector<std::uint32_t> mEnds; ///< of each name in the bytes

        auto operator<=>(const Text& other) const = default;
    };

    std::string name(std::size_t position) const
    {
        const std::size_t begin = position == 0 ? 0 : mText->mEnds[position - 1];
        return mText->mBytes.substr(begin, mText->mEnds[position] - begin);
    }

    std::shared_ptr<const Text> mText = std::make_shared<const Text>(); ///< never null
};

} // namespace Inspect

#endif

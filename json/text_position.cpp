#include "json/text_position.h"

#include "json/json_fwd.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace ZunicJson {

namespace {

/// Follows the parser through a document, of which it takes one character after the other, up to the value wanted.
class Locator : public nlohmann::json_sax<Json>
{
public:
    Locator(const std::size_t& consumed, std::string_view wanted) : mConsumed(consumed), mWanted(wanted) {}

    std::size_t found() const { return mFound; }

    bool null() override { return visit() && advance(); }
    bool boolean(bool /*value*/) override { return visit() && advance(); }
    bool number_integer(number_integer_t /*value*/) override { return visit() && advance(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return visit() && advance(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return visit() && advance(); }
    bool string(string_t& /*value*/) override { return visit() && advance(); }
    bool binary(binary_t& /*value*/) override { return visit() && advance(); }
    bool start_object(std::size_t /*size*/) override { return visit() && enter(false); }
    bool start_array(std::size_t /*size*/) override { return visit() && enter(true); }
    bool end_object() override { return leave(); }
    bool end_array() override { return leave(); }
    bool key(string_t& name) override
    {
        mSteps.back().mKey = name;
        return true;
    }
    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override
    {
        mFound = position > 0 ? position - 1 : 0;
        return false;
    }

private:
    struct Step
    {
        bool mIsArray;
        std::size_t mIndex;
        std::string mKey;
    };

    std::string here() const
    {
        std::string pointer;
        for (const Step& step : mSteps) {
            pointer += '/' + (step.mIsArray ? std::to_string(step.mIndex) : step.mKey);
        }
        return pointer;
    }

    /// False when the value wanted has been reached.
    bool visit()
    {
        const std::string pointer = here();
        if (mWanted.starts_with(pointer) && (mWanted.size() == pointer.size() || mWanted[pointer.size()] == '/')) {
            mFound = mConsumed > 0 ? mConsumed - 1 : 0;
        }
        return pointer != mWanted;
    }

    bool advance()
    {
        if (!mSteps.empty()) {
            ++mSteps.back().mIndex;
        }
        return true;
    }

    bool enter(bool isArray)
    {
        mSteps.push_back({isArray, 0, {}});
        return true;
    }

    bool leave()
    {
        mSteps.pop_back();
        return advance();
    }

    const std::size_t& mConsumed;
    std::string_view mWanted;
    std::vector<Step> mSteps;
    std::size_t mFound = 0;
};

/// Counts the characters that the parser has taken.
class CountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* place, std::size_t* count) : mPlace(place), mCount(count) {}

    reference operator*() const { return *mPlace; }
    CountingIterator& operator++()
    {
        ++mPlace;
        ++*mCount;
        return *this;
    }
    bool operator==(const CountingIterator& other) const { return mPlace == other.mPlace; }

private:
    const char* mPlace;
    std::size_t* mCount;
};

} // namespace

TextPosition positionOf(std::string_view text, std::size_t offset)
{
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    const auto lineEnds = static_cast<std::size_t>(std::ranges::count(before, '\n'));
    const std::size_t lineBegin = before.rfind('\n') + 1; // 0 when there is no line end: npos + 1.
    return {lineEnds + 1, before.size() - lineBegin + 1};
}

std::size_t offsetOf(std::string_view text, std::string_view pointer)
{
    std::size_t consumed = 0;
    Locator locator(consumed, pointer);
    Json::sax_parse(CountingIterator(text.data(), &consumed), CountingIterator(text.data() + text.size(), &consumed),
                    &locator);
    return locator.found();
}

std::size_t findDeeperThan(std::string_view text, std::size_t depth)
{
    std::size_t open = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
        case '"':
            for (++i; i < text.size() && text[i] != '"'; ++i) {
                i += text[i] == '\\' ? 1 : 0;
            }
            break;
        case '[':
        case '{':
            if (++open > depth) {
                return i;
            }
            break;
        case ']':
        case '}':
            open -= open > 0 ? 1 : 0;
            break;
        default:
            break;
        }
    }
    return std::string_view::npos;
}

} // namespace ZunicJson

#include "getopt_words.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

bool takesValue(const CLI::Option& option)
{
    return option.get_items_expected_max() > 0;
}

bool takesPositionals(const CLI::App& app)
{
    const auto isPositional = [](const CLI::Option* option) { return option->get_positional(); };
    return !app.get_options(isPositional).empty();
}

/// The letter of `word` at `position`, with all bytes of its UTF-8 sequence.
std::string letterAt(const std::string& word, std::size_t position)
{
    const auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
    const auto begin = std::next(word.begin(), static_cast<std::ptrdiff_t>(position));
    return {begin, std::find_if_not(std::next(begin), word.end(), isContinuation)};
}

/// How a complaint names the option at `position` of the letters in `word`.
std::string quotedLetter(const std::string& word, std::size_t position)
{
    const std::string option = "-" + letterAt(word, position);
    return option == word ? "'" + word + "'" : "'" + option + "' in '" + word + "'";
}

class WordReader
{
public:
    WordReader(const CLI::App& app, const std::vector<std::string>& words)
        : mApp(app), mWords(words), mTakesPositionals(takesPositionals(app))
    {}

    std::vector<std::string> read()
    {
        while (mNext < mWords.size() && !mHelpRequested) {
            readWord(mWords[mNext++]);
        }
        if (!mPositionals.empty()) {
            mResult.emplace_back("--");
            std::move(mPositionals.begin(), mPositionals.end(), std::back_inserter(mResult));
        }
        return std::move(mResult);
    }

private:
    void readWord(const std::string& word)
    {
        if (word == "--") {
            std::for_each(mWords.begin() + static_cast<std::ptrdiff_t>(mNext), mWords.end(),
                          [this](const std::string& rest) { addPositional(rest); });
            mNext = mWords.size();
        } else if (word.starts_with("--")) {
            readLongOption(word);
        } else if (word.starts_with('-') && word.size() > 1) {
            readLetters(word);
        } else {
            addPositional(word);
        }
    }

    void readLongOption(const std::string& word)
    {
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const CLI::Option* option = mApp.get_option_no_throw(name);
        if (option == nullptr) {
            throw CommandLineError("unrecognized option '" + word + "'");
        }
        if (!takesValue(*option)) {
            if (equals != std::string::npos) {
                throw CommandLineError("option '" + name + "' takes no value, but '" + word + "' gives one");
            }
            addFlag(*option);
        } else if (equals != std::string::npos) {
            addOption(*option, word.substr(equals + 1));
        } else {
            addOption(*option, takeNextWord("'" + word + "'"));
        }
    }

    void readLetters(const std::string& word)
    {
        for (std::size_t position = 1; position < word.size() && !mHelpRequested; ++position) {
            const CLI::Option* option = mApp.get_option_no_throw({'-', word[position]});
            if (option == nullptr) {
                throw CommandLineError("unrecognized option " + quotedLetter(word, position));
            }
            if (takesValue(*option)) {
                const bool valueIsAttached = position + 1 < word.size();
                addOption(*option,
                          valueIsAttached ? word.substr(position + 1) : takeNextWord(quotedLetter(word, position)));
                return;
            }
            addFlag(*option);
        }
    }

    const std::string& takeNextWord(const std::string& quotedOption)
    {
        if (mNext == mWords.size()) {
            throw CommandLineError("option " + quotedOption + " requires a value");
        }
        return mWords[mNext++];
    }

    void addFlag(const CLI::Option& option)
    {
        mResult.push_back(option.get_name());
        mHelpRequested = &option == mApp.get_help_ptr();
    }

    void addOption(const CLI::Option& option, const std::string& value)
    {
        mResult.push_back(option.get_name());
        mResult.push_back(value);
    }

    void addPositional(const std::string& word)
    {
        if (!mTakesPositionals) {
            throw CommandLineError("unexpected argument '" + word + "'");
        }
        mPositionals.push_back(cPositionalMark + word);
    }

    const CLI::App& mApp;
    const std::vector<std::string>& mWords;
    const bool mTakesPositionals;
    std::size_t mNext = 0;
    bool mHelpRequested = false;
    std::vector<std::string> mResult;
    std::vector<std::string> mPositionals;
};

} // namespace

std::vector<std::string> getoptWords(const CLI::App& app, const std::vector<std::string>& words)
{
    return WordReader(app, words).read();
}

#pragma once

#include <charconv>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

/// The words and options of a command line.
///
/// A program takes the options that it knows, one by one, then asks whether it `ends`: after
/// `--help`, and when something is left that nobody took. An option is a word that begins with
/// two dashes; its value is the next word.
class command_line
{
public:
    /// `usage` is the text for `--help`. It lives as long as the program.
    command_line(int argc, char **argv, const char *program, const char *usage);

    /// Takes an option without a value: whether it is there.
    bool flag(const char *name);

    /// Takes an option with a value: the value, or `fallback` when it isn't there.
    const char *text(const char *name, const char *fallback);

    /// Takes an option whose value is as many numbers as `targets`, apart by `separator`, each
    /// from `least` to `most`. True when it is there; the targets stay as they are when not.
    template <typename Number> bool numbers(const char *name, char separator,
                                            std::initializer_list<Number *> targets, Number least,
                                            Number most)
    {
        const char *value = text(name, nullptr);
        if (!value)
            return false;
        const char *at = value;
        const char *const end = value + std::strlen(value);
        for (Number *target : targets)
        {
            const std::from_chars_result parsed = std::from_chars(at, end, *target);
            const bool is_last = target == *(targets.end() - 1);
            at = parsed.ptr;
            if (parsed.ec != std::errc() || !(*target >= least && *target <= most) ||
                (is_last ? at != end : *at++ != separator))
            {
                reject(std::string(name) + " does not take " + value);
                break;
            }
        }
        return true;
    }

    /// Makes the program end as for bad usage, with this message.
    void reject(const std::string &message);

    /// The exit status when the program shall end now: 0 behind the text of `--help`, 2 behind a
    /// message when the usage is bad or the number of words isn't from `least` to `most`.
    std::optional<int> ends(std::size_t least, std::size_t most);

    /// Word `i` that is no option, or `fallback`.
    const char *word(std::size_t i, const char *fallback = "") const;

private:
    const char *m_program;
    const char *m_usage;
    std::vector<const char *> m_words;
    bool m_help;
    std::string m_fault; ///< the first one; empty without one
};

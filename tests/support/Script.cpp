#include "tests/support/Script.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace Tessor::Test
{

namespace
{

constexpr avTime defaultLength = 40 * ms;

/// A reader of one word of a script.
class Word
{
public:
    explicit Word(const std::string& text) : text(text), at(text.c_str()) {}

    bool Take(char c)
    {
        if (*at != c)
            return false;
        ++at;
        return true;
    }

    double Number()
    {
        char* end = nullptr;
        const double number = std::strtod(at, &end);
        if (end == at)
            Fail();
        at = end;
        return number;
    }

    avTime Time() { return Take('?') ? NoTime : static_cast<avTime>(std::llround(Number() * ms)); }

    void ExpectEnd() const
    {
        if (*at)
            Fail();
    }

private:
    [[noreturn]] void Fail() const { throw std::invalid_argument("no item of a script: " + text); }

    const std::string& text;
    const char* at;
};

ScriptItem ParseItem(const std::string& text, int index, bool& hasDuration)
{
    Word word(text);
    ScriptItem item;
    item.value = index;
    item.throws = word.Take('!');
    if (!item.throws)
    {
        item.pts = word.Time();
        item.key = word.Take('K');
        hasDuration = word.Take(':');
        if (hasDuration)
            item.duration = word.Time();
        if (word.Take('d'))
            item.dts = word.Time();
        if (word.Take('p'))
            item.position = word.Time();
        if (word.Take('='))
            item.value = static_cast<int>(word.Number());
        item.fixed = word.Take('x');
    }
    word.ExpectEnd();
    return item;
}

/// The durations that items have when none is written, in the order of the script.
std::vector<avTime> DefaultDurations(const Script& script)
{
    std::vector<avTime> starts;
    for (const ScriptItem& item : script)
        if (!item.throws && item.pts != NoTime)
            starts.push_back(item.pts);
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());

    std::vector<avTime> durations;
    for (const ScriptItem& item : script)
    {
        const auto next = std::upper_bound(starts.begin(), starts.end(), item.pts);
        if (item.pts == NoTime || starts.size() < 2)
            durations.push_back(defaultLength);
        else if (next == starts.end())
            durations.push_back(starts.back() - starts[starts.size() - 2]);
        else
            durations.push_back(*next - item.pts);
    }
    return durations;
}

void PrintItem(std::ostream& out, const ScriptItem& item, avTime defaultDuration, bool withValue)
{
    if (item.throws)
    {
        out << "! ";
        return;
    }
    out << PrintMs(item.pts) << (item.key ? "K" : "");
    if (item.duration != defaultDuration)
        out << ':' << PrintMs(item.duration);
    if (item.dts != NoTime)
        out << 'd' << PrintMs(item.dts);
    if (item.position != NoTime)
        out << 'p' << PrintMs(item.position);
    if (withValue)
        out << '=' << item.value;
    out << (item.fixed ? "x " : " ");
}

} // namespace

Script ParseScript(const std::string& text)
{
    Script script;
    std::vector<bool> hasDuration;
    std::istringstream words(text);
    int index = 0;
    for (std::string word; words >> word && word != "E";)
    {
        bool given = false;
        script.push_back(ParseItem(word, index, given));
        hasDuration.push_back(given);
        index += !script.back().throws;
    }
    const std::vector<avTime> durations = DefaultDurations(script);
    for (size_t i = 0; i < script.size(); ++i)
        if (!hasDuration[i])
            script[i].duration = durations[i];
    return script;
}

std::string PrintScript(const Script& script, bool withValues)
{
    std::ostringstream out;
    const std::vector<avTime> durations = DefaultDurations(script);
    for (size_t i = 0; i < script.size(); ++i)
        PrintItem(out, script[i], durations[i], withValues);
    out << 'E';
    return out.str();
}

std::string Regular(int count, double length, int keyEvery)
{
    std::ostringstream out;
    for (int i = 0; i < count; ++i)
    {
        const avTime start = std::llround(i * length * ms);
        const avTime end = std::llround((i + 1) * length * ms);
        out << PrintMs(start) << (keyEvery > 0 && i % keyEvery == 0 ? "K" : "") << ':' << PrintMs(end - start) << ' ';
    }
    return out.str();
}

std::string PrintMs(avTime time)
{
    if (time == NoTime)
        return "?";
    const avTime size = std::abs(time);
    std::string text = (time < 0 ? "-" : "") + std::to_string(size / ms);
    if (size % ms == 0)
        return text;
    const std::string fraction = std::to_string(ms + size % ms).substr(1);
    return text + "." + fraction.substr(0, fraction.find_last_not_of('0') + 1);
}

} // namespace Tessor::Test

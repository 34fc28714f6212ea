#include "tests/support/Script.h"

#include <cmath>
#include <cstdlib>
#include <set>
#include <sstream>
#include <stdexcept>

namespace Tessor::Test
{

namespace
{

constexpr avTime unwritten = NoTime + 1; // a duration that follows from the neighbours

ScriptItem ParseItem(const std::string& word, int index)
{
    const char* at = word.c_str();
    const auto take = [&](char c) { return *at == c && ++at; };
    const auto number = [&]
    {
        char* end = nullptr;
        const double result = std::strtod(at, &end);
        if (end == at)
            throw std::invalid_argument("no item of a script: " + word);
        at = end;
        return result;
    };
    const auto time = [&] { return take('?') ? NoTime : static_cast<avTime>(std::llround(number() * ms)); };
    ScriptItem item;
    item.throws = take('!');
    if (!item.throws)
    {
        item.pts = time();
        item.key = take('K');
        item.duration = take(':') ? time() : unwritten;
        item.dts = take('d') ? time() : NoTime;
        item.position = take('p') ? time() : NoTime;
        item.value = take('=') ? static_cast<int>(number()) : index;
        item.fixed = take('x');
        item.interlaced = take('i');
    }
    if (*at)
        throw std::invalid_argument("no item of a script: " + word);
    return item;
}

/// The durations that items have when none is written, in the order of the script.
std::vector<avTime> DefaultDurations(const Script& script)
{
    std::set<avTime> starts;
    for (const ScriptItem& item : script)
        if (!item.throws && item.pts != NoTime)
            starts.insert(item.pts);
    std::vector<avTime> durations;
    for (const ScriptItem& item : script)
    {
        const auto next = starts.upper_bound(item.pts);
        if (item.pts == NoTime || starts.size() < 2)
            durations.push_back(40 * ms);
        else if (next == starts.end())
            durations.push_back(*starts.rbegin() - *std::next(starts.rbegin()));
        else
            durations.push_back(*next - item.pts);
    }
    return durations;
}

} // namespace

Script ParseScript(const std::string& text)
{
    Script script;
    std::istringstream words(text);
    int index = 0;
    for (std::string word; words >> word && word != "E"; index += !script.back().throws)
        script.push_back(ParseItem(word, index));
    const std::vector<avTime> durations = DefaultDurations(script);
    for (size_t i = 0; i < script.size(); ++i)
        if (script[i].duration == unwritten)
            script[i].duration = durations[i];
    return script;
}

std::string PrintScript(const Script& script, bool withValues)
{
    std::string text;
    const std::vector<avTime> durations = DefaultDurations(script);
    for (size_t i = 0; i < script.size(); ++i)
    {
        const ScriptItem& item = script[i];
        text += item.throws ? "!" : PrintMs(item.pts) + (item.key ? "K" : "");
        if (!item.throws && item.duration != durations[i])
            text += ":" + PrintMs(item.duration);
        if (item.dts != NoTime)
            text += "d" + PrintMs(item.dts);
        if (!item.throws && withValues)
            text += "=" + std::to_string(item.value);
        text += " ";
    }
    return text + "E";
}

std::string Regular(int count, double length, int keyEvery)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += PrintMs(std::llround(i * length * ms)) + (keyEvery > 0 && i % keyEvery == 0 ? "K " : " ");
    return text + "E";
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

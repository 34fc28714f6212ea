#include "jobs/lists/Timecode.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <fmt/format.h>
#include <regex>

namespace Tessor::Jobs
{

Timecode::Timecode(int rateNum, int rateDen)
    : rateNum(rateNum), rateDen(rateDen), nominal((2LL * rateNum / rateDen + 1) / 2),
      dropped(rateDen == 1001 && nominal % 30 == 0 ? nominal / 15 : 0)
{
}

std::optional<long long> Timecode::ToFrame(const std::string& name, bool drop) const
{
    static const std::regex form(R"(([0-9]{2}):([0-9]{2}):([0-9]{2})([:;.,])([0-9]{2,3}))");
    std::smatch parts;
    if (!std::regex_match(name, parts, form))
        return std::nullopt;
    const long long minute = std::stoll(parts[1]) * 60 + std::stoll(parts[2]);
    const long long second = std::stoll(parts[3]), frame = std::stoll(parts[5]);
    drop = (drop || parts[4] == ";") && CanDrop();
    // names that were dropped name nothing
    const bool gone = drop && minute % 10 != 0 && second == 0 && frame < dropped;
    if (std::stoll(parts[2]) > 59 || second > 59 || frame >= nominal || gone)
        return std::nullopt;
    return (minute * 60 + second) * nominal + frame - (drop ? dropped * (minute - minute / 10) : 0);
}

std::string Timecode::ToName(long long frame, bool drop) const
{
    if (drop)
    {
        // of ten minutes the first one has all names
        const long long minute = 60 * nominal - dropped, ten = 10 * minute + dropped;
        const long long rest = frame % ten;
        frame += dropped * (9 * (frame / ten) + (rest < dropped ? 0 : (rest - dropped) / minute));
    }
    const long long second = frame / nominal;
    return fmt::format("{:02}:{:02}:{:02}{}{:02}", second / 3600, second / 60 % 60, second % 60, drop ? ';' : ':',
                       frame % nominal);
}

avTime Timecode::ToTime(long long frame) const
{
    return av_rescale(frame, SECOND * rateDen, rateNum);
}

long long Timecode::ToFrame(avTime time) const
{
    return av_rescale(time, rateNum, SECOND * rateDen);
}

} // namespace Tessor::Jobs

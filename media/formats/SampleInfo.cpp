#include "media/formats/SampleInfo.h"

#include <algorithm>
#include <iterator>

namespace Tessor::Conf
{

namespace
{

using F = SampleFormats;

constexpr SampleFormatDescription no_format{F::None, 0, false, F::None};
constexpr SampleFormatDescription formats[] = {
    {F::U8, 8, false, F::U8P},         {F::S16, 16, false, F::S16P},       {F::S32, 32, false, F::S32P},
    {F::Float, 32, false, F::FloatP},  {F::Double, 64, false, F::DoubleP}, {F::U8P, 8, true, F::U8},
    {F::S16P, 16, true, F::S16},       {F::S32P, 32, true, F::S32},        {F::FloatP, 32, true, F::Float},
    {F::DoubleP, 64, true, F::Double},
};
constexpr int kinds = 5; // u8, s16, s32, float, double in rising order, interleaved and then planar

const SampleFormatDescription& HigherFormat(const SampleFormatDescription& a, const SampleFormatDescription& b)
{
    if (a.bits == 0 || b.bits == 0)
        return a.bits == 0 ? b : a;
    // the planar values follow the interleaved ones in the same order: the remainder ranks both
    const int rankA = static_cast<int>(a.format) % kinds;
    const int rankB = static_cast<int>(b.format) % kinds;
    const SampleFormatDescription& winner = rankB > rankA ? b : a;
    // the 8-bit mix is biased, so two of them meet in 16 bits
    if (rankA == 0 && rankB == 0)
        return SampleFormatDescription::Find(winner.planar ? F::S16P : F::S16);
    return winner;
}

} // namespace

const SampleFormatDescription& SampleFormatDescription::Find(SampleFormats format)
{
    const auto found = std::find_if(std::begin(formats), std::end(formats),
                                    [=](const SampleFormatDescription& d) { return d.format == format; });
    return found == std::end(formats) ? no_format : *found;
}

void SampleInfo::Init(SampleFormats newFormat, int newRate, ChannelLayout newLayout)
{
    format = &SampleFormatDescription::Find(newFormat);
    rate = newRate;
    layout = newLayout;
}

void SampleInfo::MergeWith(const SampleInfo& other, MergeStrategy)
{
    // unset values lose each time: rates of 0 or -1, layouts without channels, formats of 0 bits
    rate = std::max(rate, other.rate);
    if (other.GetChannelCount() > GetChannelCount())
        layout = other.layout;
    format = &HigherFormat(*format, *other.format);
}

} // namespace Tessor::Conf

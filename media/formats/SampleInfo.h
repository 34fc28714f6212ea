#pragma once

#include "Fnd/Export.h"
#include "media/formats/ChannelLayout.h"

#include <cstdint>

namespace Tessor::Conf
{

/// The order of FFmpeg's AVSampleFormat.
enum class SampleFormats : int
{
    None = -1,
    U8 = 0,
    S16 = 1,
    S32 = 2,
    Float = 3,
    Double = 4,
    U8P = 5,
    S16P = 6,
    S32P = 7,
    FloatP = 8,
    DoubleP = 9,
};

struct SampleFormatDescription
{
    SampleFormats format;
    int bits; ///< of one sample
    bool planar;
    SampleFormats planarCounterpart;

    /// The descriptor of a format; an unknown value gets one of 0 bits.
    TESSOR_API static const SampleFormatDescription& Find(SampleFormats format);
};

enum class MergeStrategy
{
    Default = 0,
};

/// Sample rate, format and channels of an audio stream. Every value can be unset: rate 0 or -1, format None, layout
/// None.
class TESSOR_API SampleInfo
{
public:
    SampleInfo() = default;
    SampleInfo(SampleFormats format, int rate, ChannelLayout layout) { Init(format, rate, layout); }

    void Init(SampleFormats format, int rate, ChannelLayout layout);

    int GetSampleRate() const { return rate; }
    const SampleFormatDescription& GetFormat() const { return *format; }
    ChannelLayout GetChannelLayout() const { return layout; }
    int GetChannelCount() const { return Conf::GetChannelCount(layout); }

    /// Folds a second one into this: unset values take the other's; the higher rate; the layout with more channels
    /// (this one on a tie); the higher of u8 < s16 < s32 < float < double with the winner's planarity, where two set
    /// u8 formats give s16.
    void MergeWith(const SampleInfo& other, MergeStrategy strategy = MergeStrategy::Default);

    bool operator==(const SampleInfo& other) const
    {
        return rate == other.rate && format->format == other.format->format && layout == other.layout;
    }

private:
    int rate = 0;
    const SampleFormatDescription* format = &SampleFormatDescription::Find(SampleFormats::None);
    ChannelLayout layout = ChannelLayout::None;
};

} // namespace Tessor::Conf

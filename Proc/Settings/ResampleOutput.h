#pragma once

#include "Proc/Settings/SettingsField.h"
#include "media/formats/SampleInfo.h"

namespace Tessor::Proc
{

/// The fields that settings of a resampler, and of the filter around it, have in common. What is unset stays as the
/// source has it.
struct ResampleOutput
{
    /// The formats by their numbers, after the one that stands for none.
    enum class Format
    {
        Source,
        U8,
        S16,
        S32,
        Float,
        Double,
        U8P,
        S16P,
        S32P,
        FloatP,
        DoubleP,
    };

    std::string implName; ///< empty: the default one
    int rate = 0;         ///< Hz; 0: the source's
    Format format = Format::Source;
    Conf::ChannelLayout layout = Conf::ChannelLayout::None;

    Conf::SampleInfo GetSampleInfo() const
    {
        return {static_cast<Conf::SampleFormats>(static_cast<int>(format) - 1), rate, layout};
    }
};

/// The table of fields of settings that derive from ResampleOutput.
template <class S>
std::vector<SettingsField<S>> MakeResampleFields(const std::string& implKey)
{
    const std::vector<std::string> formats{"source", "u8",   "s16",  "s32",  "flt", "dbl",
                                           "u8p",    "s16p", "s32p", "fltp", "dblp"};
    const std::vector<std::string> layouts{"source", "mono", "stereo", "2.1", "quad", "5.0", "5.1", "6.1", "7.1"};
    // the members' type names the base, which is not what a table's row is made of
    return {
        {implKey, static_cast<std::string S::*>(&S::implName), "name of the implementation; empty for the default one"},
        {"rate", static_cast<int S::*>(&S::rate), "Hz; 0 for the source's", FieldLimits{0, 768000}},
        {"format", static_cast<ResampleOutput::Format S::*>(&S::format), "of a sample, with a p for planar", formats},
        {"layout", static_cast<Conf::ChannelLayout S::*>(&S::layout), "of the channels", layouts},
    };
}

} // namespace Tessor::Proc

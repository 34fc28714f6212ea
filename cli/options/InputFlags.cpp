#include "cli/options/InputFlags.h"

#include "jobs/Times.h"

namespace Tessor::Cli
{

void AddInputOptions(OptionTable& table, Host::DemuxerSettings& settings)
{
    table.push_back({"--allow-references", "",
                     "open what the input names, such as the parts of a playlist, in its folder and below",
                     &settings.allowReferences});
    table.push_back({"--formats", "LIST", "read only files of these formats, in FFmpeg's names: mp4,matroska,mpegts",
                     &settings.formats});
}

void GapFlag::AddOption(OptionTable& table)
{
    table.push_back({"--max-gap", "TIME",
                     "fill gaps in the times of a track as far as they are no longer (10 s); longer ones are closed",
                     &maxGap});
}

avTime GapFlag::Read() const
{
    return Jobs::ParseLength("--max-gap", maxGap);
}

} // namespace Tessor::Cli

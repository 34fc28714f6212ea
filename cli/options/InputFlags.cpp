#include "cli/options/InputFlags.h"

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

} // namespace Tessor::Cli

#include "jobs/convert/ConvertJob.h"

#include "jobs/OutputFile.h"
#include "jobs/convert/Conversion.h"

namespace Tessor::Jobs
{

ConvertReport ConvertJob::Run(IProgress& progress) const
{
    CheckOutput(settings.output, {settings.input}, settings.overwrite);
    if (!settings.noVideo)
        CheckOutputEncoder(settings.output, MediaType::Video, settings.video);
    if (!settings.noAudio)
        CheckOutputEncoder(settings.output, MediaType::Audio, settings.audio);
    return Conversion(settings, progress).Run(progress);
}

} // namespace Tessor::Jobs

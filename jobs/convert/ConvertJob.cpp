#include "jobs/convert/ConvertJob.h"

#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/convert/Conversion.h"

namespace Tessor::Jobs
{

namespace
{

/// What is copied stays as it is.
void CheckCopied(const char* option, const std::string& chain, const Host::EncoderOptions& encoder)
{
    if (!chain.empty() || !encoder.name.empty() || !encoder.preset.empty() || encoder.bitRate > 0 || encoder.crf >= 0)
        throw JobError(JobError::BadRequest,
                       std::string(option) + " copy leaves nothing to do for filters and for an encoder's options");
}

} // namespace

ConvertReport ConvertJob::Run(IProgress& progress) const
{
    Check();
    return Conversion(settings, progress).Run(progress);
}

void ConvertJob::Check() const
{
    CheckOutput(settings.output, {settings.input}, settings.writing);
    if (settings.copyVideo)
        CheckCopied("--video", settings.videoChain, settings.video);
    else if (!settings.noVideo)
        CheckOutputEncoder(settings.output, settings.writing.format, MediaType::Video, settings.video);
    if (settings.copyAudio)
        CheckCopied("--audio", settings.audioChain, settings.audio);
    else if (!settings.noAudio)
        CheckOutputEncoder(settings.output, settings.writing.format, MediaType::Audio, settings.audio);
    // groups of pictures would have to be encoded anew where the cut runs through them
    if (settings.copyVideo && !settings.noVideo && settings.Cuts())
        throw JobError(JobError::BadRequest, "pictures that are copied are cut without loss by the verb cut, not by "
                                             "convert: --video copy keeps all of them");
}

} // namespace Tessor::Jobs

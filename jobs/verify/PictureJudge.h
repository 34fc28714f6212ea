#pragma once

#include "jobs/InputFile.h"
#include "jobs/ReadProgress.h"
#include "jobs/verify/KeptTime.h"
#include "jobs/verify/PictureVerdict.h"

#include <string>

namespace Tessor::Jobs
{

/// Decodes a track of two files: every kept picture of the source has to be there, in order, at its time, and like its
/// source.
class PictureJudge
{
public:
    PictureJudge(const Input& source, const Input& output, const KeptTime& kept, const ExposedPictures& exposed,
                 const IProgress& progress)
        : source(source), output(output), kept(kept), exposed(exposed), progress(progress)
    {
    }

    /// `shift`: how much later the whole output lies; NoTime: as its first picture does. Throws Exception where no
    /// decoder takes a track.
    PictureVerdict Judge(int sourceTrack, int outputTrack, avTime shift, ReadProgress& reading) const;

private:
    const Input source, output;
    const KeptTime kept;
    const ExposedPictures exposed;
    const IProgress& progress;
};

} // namespace Tessor::Jobs

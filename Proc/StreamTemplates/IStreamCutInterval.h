#pragma once

#include "Proc/StreamTemplates/IStream.h"

namespace Tessor::Proc
{

/// What a cut controller asks of the streams that it handed out.
class TESSOR_API IStreamCutInterval : public virtual IStream
{
public:
    /// Position of the source stream.
    virtual avTime GetSourcePosition() = 0;
    /// Starts a thread that saves what lies before `start`; the controller then jumps to `end`.
    virtual void SavePacketsBeforeSeek(avTime start, avTime end) = 0;
    /// Joins that thread.
    virtual void WaitForSeek() = 0;
    /// True for compressed streams.
    virtual bool IsRawStream() = 0;
    /// True when the stream can only start on a key frame.
    virtual bool KeyframeSeek() = 0;
};

} // namespace Tessor::Proc

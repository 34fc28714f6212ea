#pragma once

#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/Visitors.h"

#include <string>

namespace Tessor::Proc
{

/// A filter that goes where its parent goes: visitors are told its name, and both phases of a seek walk on. It supplies
/// ReadInternal; one with state of its own, or times other than its parent's, overrides RequestSeekInternal as well.
///
/// Items are read on the reader's thread, so that no destructor has a thread of the base to stop.
template <class IStreamParent, class IStreamThis = IStreamParent>
class PassThrough : public StreamImpl<IStreamParent, IStreamThis>
{
protected:
    /// `memory`: where the frames lie that come out, FRAME_ALLOC_NONE for what makes no difference to it. Throws
    /// std::invalid_argument for a null parent.
    PassThrough(const SP<IStreamParent>& parent, std::string name, FrameAllocType memory = FRAME_ALLOC_CPU)
        : StreamImpl<IStreamParent, IStreamThis>(parent, false), name(std::move(name)), memory(memory)
    {
    }

    void AcceptInternal(IStreamVisitor& visitor) override
    {
        Visitors::ProcessStandartVisitors(visitor, name, memory, nullptr);
    }
    void RequestSeekInternal(avTime target, SP<IStream> partner) override
    {
        this->parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { this->parentStream->DoSeek(); }

private:
    const std::string name;
    const FrameAllocType memory;
};

} // namespace Tessor::Proc

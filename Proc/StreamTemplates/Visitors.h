#pragma once

#include "Proc/StreamTemplates/IStreamVideoDecoder.h"
#include "Proc/StreamTemplates/IStreamVisitor.h"

#include <string>
#include <vector>

namespace Tessor::Proc::Visitors
{

/// Gathers the name of every element, in the order of the walk.
class TESSOR_API InfoCollector final : public IStreamVisitor
{
public:
    int GetType() const override { return 0; }
    void AddElementInfo(const std::string& name) { names.push_back(name); }
    const std::vector<std::string>& GetElements() const { return names; }

private:
    std::vector<std::string> names;
};

/// Gathers the frame memory of every element, in the order of the walk.
class TESSOR_API FrameTypeCollector final : public IStreamVisitor
{
public:
    int GetType() const override { return 1; }
    void AddCurrentType(FrameAllocType type) { types.push_back(type); }
    const std::vector<FrameAllocType>& GetTypes() const { return types; }

private:
    std::vector<FrameAllocType> types;
};

/// Gathers the video decoders of the chain.
class TESSOR_API DecoderCollector final : public IStreamVisitor
{
public:
    int GetType() const override { return 2; }
    /// Ignores null, otherwise takes a reference.
    void AddDecoder(IStreamVideoDecoder* decoder)
    {
        if (decoder)
            decoders.emplace_back(decoder);
    }
    const std::vector<SP<IStreamVideoDecoder>>& GetDecoders() const { return decoders; }

private:
    std::vector<SP<IStreamVideoDecoder>> decoders;
};

/// The one call that a filter makes from AcceptInternal. Throws std::bad_cast when the visitor is not of the class
/// that its kind names, std::logic_error for an unknown kind.
TESSOR_API void ProcessStandartVisitors(IStreamVisitor& visitor, const std::string& name, FrameAllocType type,
                                        IStreamVideoDecoder* decoder);

} // namespace Tessor::Proc::Visitors

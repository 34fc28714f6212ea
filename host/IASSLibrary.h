#pragma once

#include "Fnd/RefCount.h"

#include <string>

namespace Tessor::Proc
{

class AssRendererSettings;
class IASSRenderer;

/// Draws subtitles of the ASS format.
class TESSOR_API IASSLibrary : public virtual IRefCountable
{
public:
    /// A renderer for events under the header of a script.
    virtual SP<IASSRenderer> CreateRenderer(const std::string& header, const AssRendererSettings& settings) = 0;
};

} // namespace Tessor::Proc

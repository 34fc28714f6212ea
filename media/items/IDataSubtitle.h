#pragma once

#include "media/items/IData.h"

struct AVSubtitle;

namespace Tessor::Proc
{

/// A decoded subtitle.
class TESSOR_API IDataSubtitle : public virtual IData
{
public:
    /// 0: new times over the shared record; 1 and 2: a deep copy.
    virtual SP<IDataSubtitle> Clone(int mode) const = 0;
    /// The record, a deep copy of the item's own, valid as long as the item.
    virtual const AVSubtitle& GetAVSubtitle() const = 0;
};

} // namespace Tessor::Proc

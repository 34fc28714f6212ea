#pragma once

#include "Fnd/TimerSimple.h"
#include "effects/EffectBase.h"
#include "effects/IOneInputEffect.h"

#include <stdexcept>

namespace Tessor::Proc
{

/// An effect on single items: it supplies ProcessItem, and UpdateFormat where it changes the format.
template <class Interface, class SettingsT, class FactoryData>
class EffectBaseOneInput : public EffectBase<Interface, SettingsT, FactoryData>
{
public:
    using Item = typename Interface::Item;
    using Format = typename Interface::Format;

    /// Takes one input. Throws std::invalid_argument for another number, std::bad_cast for an item of another kind.
    SP<IData> Apply(const std::vector<SP<IData>>& inputs) override
    {
        if (inputs.size() != 1)
            Throw<std::invalid_argument>(TESSOR_HERE, "The effect takes one input.");
        SP<Item> item = inputs[0] ? SP<Item>(&dynamic_cast<Item&>(*inputs[0])) : nullptr;
        Process(item);
        return item;
    }

    void Process(SP<Item>& item) override
    {
        const Core::TimerSimple timer(this->statisticsTime);
        ProcessItem(item);
        this->statisticsCount += item ? 1 : 0;
    }
    void UpdateFormat(SP<Format>&) override {}

protected:
    using EffectBase<Interface, SettingsT, FactoryData>::EffectBase;

    /// What Process of the interface asks for.
    virtual void ProcessItem(SP<Item>& item) = 0;
};

} // namespace Tessor::Proc

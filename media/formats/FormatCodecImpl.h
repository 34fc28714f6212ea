#pragma once

#include "media/formats/IFormatCodec.h"

namespace Tessor::Conf
{

/// What the format objects of all kinds share. Everything but the extradata lies in the tree.
template <class Interface>
class FormatCodecImpl : public Interface, public RefCountImpl
{
public:
    Core::Property& GetProperties() override { return properties; }
    const Core::Property& GetProperties() const override { return properties; }
    void Merge(const Core::Property& other) override
    {
        other.RequireNode("Merge"); // a value would take the place of the whole tree
        properties.Merge(other);
    }
    SP<const Proc::IBlob> GetExtradata() const override { return extradata; }
    void SetExtradata(const SP<const Proc::IBlob>& blob) override { extradata = blob; }

protected:
    FormatCodecImpl() = default;
    FormatCodecImpl(const FormatCodecImpl& other)
        : IRefCountable(other), IFormatCodec(other), Interface(other), RefCountImpl(other),
          properties(other.properties), extradata(other.extradata)
    {
    }

    long long GetInt64(const std::string& tag, long long unset) const
    {
        return properties.ChildExists(tag) ? properties[tag].GetInt64() : unset;
    }

    Core::Property properties{"Format"};
    SP<const Proc::IBlob> extradata; // null until a source or an encoder sets it
};

} // namespace Tessor::Conf

#pragma once

#include "Fnd/Property/Property.h"
#include "Proc/Settings/Settings.h"

#include <limits>
#include <vector>

namespace Tessor::Proc
{

/// A field of a settings class as hosts see it: what a tree, a help text and a check of a value need.
struct FieldInfo
{
    std::string key;
    std::string help;     ///< one clause, with the unit
    Core::Property value; ///< the default; its type is that of the field's values in a tree
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
    std::vector<std::string> choices; ///< all values that a field of text takes; empty: any
};

/// Settings that have a form as a tree, named by the CLASS_ID, with one child a field.
class TESSOR_API SettingsTree : public Settings
{
public:
    virtual std::vector<FieldInfo> Describe() const = 0;
    virtual Core::Property ToProperty() const = 0;
    /// Sets the fields that the tree names and leaves the others. Throws SettingsException for an unknown key, a
    /// value of another type or beyond its bounds, and then changes nothing.
    virtual void FromProperty(const Core::Property& tree) = 0;
};

} // namespace Tessor::Proc

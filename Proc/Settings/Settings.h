#pragma once

#include "Fnd/Export.h"

#include <string>

namespace Tessor::Proc
{

/// Base of all typed settings. Every class has a public constant CLASS_ID, unique and stable: hosts store it.
class TESSOR_API Settings
{
public:
    virtual const std::string& GetClassId() const = 0;
    virtual ~Settings() = default;
    /// A heap copy that the caller owns.
    virtual Settings* Clone() const = 0;
    /// Throws std::logic_error where a class has no comparison, std::bad_cast for settings of another class.
    virtual bool IsEqualTo(const Settings& other) const;
    virtual bool IsEmpty() const { return false; }
    /// Fills the fields from a string. Throws SettingsException where a class can't.
    virtual void Deserialize(const std::string& text);

protected:
    Settings() = default;
    Settings(const Settings&) = default;
    Settings& operator=(const Settings&) = default;
};

/// The settings as their own class. Throws std::bad_cast for settings of another one.
template <class S>
const S& SettingsCast(const Settings& settings)
{
    return dynamic_cast<const S&>(settings);
}

} // namespace Tessor::Proc

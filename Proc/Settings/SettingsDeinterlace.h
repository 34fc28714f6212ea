#pragma once

#include "Proc/Settings/SettingsField.h"

#include <cstdint>

namespace Tessor::Proc
{

/// Of the deinterlacer, which makes one progressive frame of every interlaced one.
class TESSOR_API SettingsDeinterlace final : public SettingsOf<SettingsDeinterlace>
{
public:
    enum class Method : int64_t
    {
        Bwdif, ///< motion adaptive, with a filter of three fields: the best edges
        Yadif, ///< motion adaptive
    };

    inline static const std::string CLASS_ID = "SettingsDeinterlace";
    static const std::vector<SettingsField<SettingsDeinterlace>>& GetFields();

    Method method = Method::Bwdif;
};

/// The settings from their tree. Throws SettingsException for a value that is wrong.
TESSOR_API SettingsDeinterlace Property2SettingsDeinterlace(const Core::Property& property);

/// The tree that Property2SettingsDeinterlace reads.
TESSOR_API Core::Property Settings2Property(const SettingsDeinterlace& settings);

} // namespace Tessor::Proc

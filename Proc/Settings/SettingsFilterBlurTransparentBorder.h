#pragma once

#include "Proc/Settings/SettingsField.h"

#include <cstdint>

namespace Tessor::Proc
{

/// Of the filter that colours transparent pixels like the visible ones near them.
class TESSOR_API SettingsFilterBlurTransparentBorder final : public SettingsOf<SettingsFilterBlurTransparentBorder>
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterBlurTransparentBorder";
    static const std::vector<SettingsField<SettingsFilterBlurTransparentBorder>>& GetFields();

    explicit SettingsFilterBlurTransparentBorder(int32_t matrixSize = 5) : matrixSize(matrixSize) {}

    int32_t GetMatrixSize() const { return matrixSize; }

private:
    int32_t matrixSize; // pixels; half of it, rounded down, is how far a pixel looks
};

} // namespace Tessor::Proc

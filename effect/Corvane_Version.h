#pragma once

#include "pluginterfaces/base/funknown.h"

// The factory record of the effect.
namespace corvane {

constexpr const char* vendor = "Halvorne Audio Technologies";
constexpr const char* vendorUrl = "";
constexpr const char* vendorEmail = "";
constexpr const char* className = "Corvane+Time_VST";
constexpr const char* subCategories = "Fx|Pitch Shift";
constexpr const char* version = "7.6.8.0";
constexpr const char* sdkVersion = "VST 3.5.2";
constexpr const char* bundleIdentifier = "com.Halvorne.Corvane+Time_VST.vst3";

// The processor-and-controller class.
static const Steinberg::FUID effectUID(0x6B1A4C27, 0x93E04D5A, 0xA8F1C3D2, 0x5E7B9014);

} // namespace corvane

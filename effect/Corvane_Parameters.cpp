#include "effect/Corvane_Parameters.h"

#include <string>
#include <vector>

#include "Common_VST3/VST3_ExponentialParameter.h"
#include "Common_VST3/VST3_MultiStringArrayParameter.h"
#include "Common_VST3/VST3_SampleRateParameter.h"
#include "Common_VST3/VST3_ScaledParameter.h"
#include "Common_VST3/VST3_StringListParameter.h"
#include "Common_VST3/VST3_ToggleParameter.h"
#include "dsp/scale_tables.h"
#include "effect/Corvane_MIDIOctavesParameter.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace corvane {

namespace {

enum class Kind { Unused, Button, Toggle, Octaves, List, Key, Scaled, Exponential };

constexpr int32 kAuto = ParameterInfo::kCanAutomate;
constexpr int32 kNone = 0;
constexpr int32 kHidden = ParameterInfo::kIsReadOnly | ParameterInfo::kIsHidden;

struct Row {
    ParamID id;
    const char* title;
    const char* shortTitle;
    const char* units;
    Kind kind;
    double minPlain, midPlain, maxPlain, defaultPlain;
    int32 precision;
    int32 flags;
    std::vector<const char*> strings;
};

// Buttons are two-state with plain values 0.0 and 1.0 and are not
// automatable; the knobs' ranges are in the units the engine takes.
const Row catalogue[] = {
    {0, "Correction Mode", "ModR", "", Kind::List, 0, 0, 0, 0, 0, kNone, {"Auto", "Graph"}},
    {1, "Scale", "ScaP", "", Kind::List, 0, 0, 0, 2, 0, kAuto, {}},
    {2, "Key", "KeyP", "", Kind::Key, 0, 0, 0, 0, 0, kAuto, {}},
    {3, "Detune", "DetK", "cents", Kind::Scaled, -100, 0, 100, 0, 0, kAuto, {}},
    {4, "Retune Speed", "RetK", "msec", Kind::Exponential, 0, 50, 400, 20, 0, kAuto, {}},
    {5, "Vibrato Shape", "VShP", "", Kind::List, 0, 0, 0, 0, 0, kAuto, {"(No Vibrato)", "Sine Wave", "Square", "Sawtooth"}},
    {6, "Vibrato Pitch", "VPiK", "cents", Kind::Scaled, 0, 0, 100, 0, 0, kAuto, {}},
    {7, "Vibrato Rate", "VRtK", "hz", Kind::Scaled, 0.1, 0, 10, 5.5, 1, kAuto, {}},
    {8, "(unused)", "un08", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {9, "Tracking", "TrkK", "", Kind::Scaled, 0, 0, 100, 50, 0, kAuto, {}},
    {10, "Input type", "InTP", "", Kind::List, 0, 0, 0, 0, 0, kAuto, {"Soprano", "Alto/Tenor", "Low Male", "Instrument", "Bass Inst"}},
    {11, "(unused)", "un11", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {12, "H.Zoom Out", "HZOB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {13, "V.Zoom In", "VZIB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {14, "V.Zoom Out", "VZOB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {15, "H.Zoom In", "HZIB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {16, "Graph Tools", "GToR", "", Kind::List, 0, 0, 0, 0, 0, kNone, {"Draw Lines", "Draw Curves", "Draw Notes", "Arrow", "Scissors", "Zoom", "I-Beam", "Hand Scroll", "Move Point", "Move Region"}},
    {17, "Make Curves", "MCuB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {18, "Import Auto", "IAuB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {19, "Cut", "CutB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {20, "Copy", "CopB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {21, "Paste", "PasB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {22, "Undo", "UndB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {23, "Select All", "SeAB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {24, "Tie Envelope", "TieR", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {25, "Nudge Up Arrow", "NuUB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {26, "Nudge Down Arrow", "NuDB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {27, "(unused)", "un27", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {28, "Track Pitch", "TPiB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {29, "(unused)", "un29", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {30, "(unused)", "un30", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {31, "Object Retune Speed", "OReK", "msec", Kind::Exponential, 0, 50, 400, 20, 0, kNone, {}},
    {32, "(unused)", "un32", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {33, "(unused)", "un33", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {34, "L/R Ref", "LRrR", "", Kind::List, 0, 0, 0, 0, 0, kAuto, {"Left", "Right"}},
    {35, "(unused)", "un35", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {36, "Learn Scale from MIDI", "LSMB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {37, "Target Notes via MIDI", "TNMB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {38, "Scale Up Arrow", "ScUB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {39, "Scale Down Arrow", "ScDB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {40, "Set Major Scale", "SMaB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {41, "Set Minor Scale", "SMiB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {42, "(unused)", "un42", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {43, "Redo", "RedB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {44, "Ignore Vibrato", "IgVB", "", Kind::Toggle, 0, 0, 1, 0, 0, kAuto, {}},
    {45, "(unused)", "un45", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {46, "V.Onset Delay", "VODK", "msec", Kind::Scaled, 0, 0, 1500, 500, 0, kAuto, {}},
    {47, "Vibrato Amplitude", "VAmK", "%", Kind::Scaled, 0, 0, 100, 0, 0, kAuto, {}},
    {48, "Vibrato Formant", "VFoK", "dB", Kind::Scaled, -18, 0, 18, 0, 0, kAuto, {}},
    {49, "Vibrato Variation", "VVaK", "%", Kind::Scaled, 0, 0, 100, 0, 0, kAuto, {}},
    {50, "V.Onset Rate", "VORK", "msec", Kind::Scaled, 0, 0, 1500, 500, 0, kAuto, {}},
    {51, "Object Adjust Vibrato", "OAVK", "ratio", Kind::Scaled, -12, 0, 12, 0, 1, kNone, {}},
    {52, "Hold Note Shown", "HldB", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {53, "Keyboard Edits", "KEdR", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {54, "Keyboard Mode", "KMoR", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {55, "Set All", "SAlB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {56, "Bypass All", "BAlB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {57, "Remove All", "RAlB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {58, "MIDI Octaves", "MiOR", "", Kind::Octaves, 0, 0, 1, 0, 0, kAuto, {}},
    {59, "(unused)", "un59", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {60, "Options", "OptB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {61, "Humanize", "HumK", "", Kind::Scaled, 0, 0, 100, 0, 0, kAuto, {}},
    {62, "Natural Vibrato", "NaVK", "dB", Kind::Scaled, -12, 0, 12, 0, 1, kAuto, {}},
    {63, "Clear All Data", "ClAB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {64, "Snap To Note", "SnaB", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {65, "Reset Clocks", "RClB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {66, "Clock Source", "ClSR", "", Kind::List, 0, 0, 0, 1, 0, kNone, {"Internal", "Host"}},
    {67, "Auto Scroll", "AuSB", "", Kind::Toggle, 0, 0, 1, 1, 0, kNone, {}},
    {68, "(unused)", "un68", "", Kind::Unused, 0, 0, 1, 0, 0, kHidden, {}},
    {69, "Make Notes", "MNoB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {70, "Use Formants", "UsFB", "", Kind::Toggle, 0, 0, 1, 1, 0, kAuto, {}},
    {71, "Throat Length", "ThLK", "%", Kind::Scaled, 70, 0, 130, 100, 0, kAuto, {}},
    {72, "Show Lanes", "ShLB", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {73, "Number of Note Objects", "NNOK", "", Kind::Scaled, 1, 0, 10, 1, 0, kNone, {}},
    {74, "Transpose", "TrnK", "semitones", Kind::Scaled, -12, 0, 12, 0, 0, kAuto, {}},
    {75, "Object Throat Length", "OThK", "%", Kind::Scaled, -50, 0, 50, 0, 0, kNone, {}},
    {76, "Show MIDI", "ShMB", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {77, "Make Notes from MIDI", "MNMB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {78, "Time Display", "TDiR", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {79, "Enable Time Warping", "ETWB", "", Kind::Toggle, 0, 0, 1, 0, 0, kNone, {}},
    {80, "Track Pitch and Time", "TPTB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {81, "Time Undo", "TUnB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {82, "Time Redo", "TReB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {83, "Time Clear All", "TCAB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {84, "Data Folder Settings", "DFSB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {85, "Graph Scroll Up", "GSUB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {86, "Graph Scroll Down", "GSDB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {87, "Graph Scroll Left", "GSLB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {88, "Graph Scroll Right", "GSRB", "", Kind::Button, 0, 0, 1, 0, 0, kNone, {}},
    {89, "Bypass", "Bypa", "", Kind::Toggle, 0, 0, 1, 0, 0, kAuto | ParameterInfo::kIsBypass, {}},
};
static_assert(sizeof(catalogue) / sizeof(catalogue[0]) == parameterCount, "one row per id");

// Keys by spelling: as the major scales, the minor scales and the others
// name their key.
std::vector<std::string> keyNames(int scale)
{
    std::vector<std::string> names;
    for (int key = 0; key < 12; ++key) names.emplace_back(Note_Name(scale, key, key));
    return names;
}

std::u16string wide(const char* text)
{
    Steinberg::Vst::String128 buffer;
    VST3_BaseParameter::copyText(text ? text : "", buffer);
    return std::u16string(buffer);
}

Parameter* make(const Row& row)
{
    const auto title = wide(row.title), shortTitle = wide(row.shortTitle), units = wide(row.units);
    switch (row.kind) {
    case Kind::Unused:
    case Kind::Button: {
        auto* p = new VST3_ScaledParameter(row.id, title.c_str(), shortTitle.c_str(), units.c_str(),
                                           0, 1, 0, 0, row.flags, 1);
        return p;
    }
    case Kind::Toggle: {
        auto* p = new VST3_ToggleParameter(row.id, title.c_str(), shortTitle.c_str(), row.flags);
        p->setDefaultPlain(row.defaultPlain);
        p->setNormalized(p->getInfo().defaultNormalizedValue);
        return p;
    }
    case Kind::Octaves: {
        auto* p = new Corvane_MIDIOctavesParameter(row.id, title.c_str(), shortTitle.c_str(), row.flags);
        p->setDefaultPlain(row.defaultPlain);
        p->setNormalized(p->getInfo().defaultNormalizedValue);
        return p;
    }
    case Kind::List: {
        auto* p = new VST3_StringListParameter(row.id, title.c_str(), shortTitle.c_str(), row.flags);
        if (row.id == kScale) {
            for (int s = 0; s < scale_count; ++s) p->appendString(std::string(scale_names[s]));
        }
        for (const char* s : row.strings) p->appendString(std::string(s));
        p->setDefaultPlain(row.defaultPlain);
        p->setNormalized(p->getInfo().defaultNormalizedValue);
        return p;
    }
    case Kind::Key: {
        auto* p = new VST3_MultiStringArrayParameter(row.id, title.c_str(), shortTitle.c_str(), row.flags);
        p->addStringArray(keyNames(0));
        p->addStringArray(keyNames(1));
        p->addStringArray(keyNames(2));
        p->setCurrentArray(keySpellingOf(2));
        p->setDefaultPlain(row.defaultPlain);
        p->setNormalized(p->getInfo().defaultNormalizedValue);
        return p;
    }
    case Kind::Scaled:
        return new VST3_ScaledParameter(row.id, title.c_str(), shortTitle.c_str(), units.c_str(),
                                        row.minPlain, row.maxPlain, row.defaultPlain,
                                        row.precision, row.flags);
    case Kind::Exponential:
        return new VST3_ExponentialParameter(row.id, title.c_str(), shortTitle.c_str(), units.c_str(),
                                             row.minPlain, row.midPlain, row.maxPlain,
                                             row.defaultPlain, row.precision, row.flags);
    }
    return nullptr;
}

} // namespace

int keySpellingOf(int scale)
{
    return scale == 0 ? 0 : scale == 1 ? 1 : 2;
}

void addParameters(ParameterContainer& parameters, ParameterContainer& privateParameters)
{
    parameters.init(parameterCount);
    for (const Row& row : catalogue) parameters.addParameter(make(row));

    auto* rate = new VST3_SampleRateParameter(sampleRateParameter, u"Sample Rate", u"SRtX", u"Hz",
                                              8000, 384000, 44100, 0, ParameterInfo::kIsReadOnly);
    privateParameters.addParameter(rate);
    auto* cents = new VST3_ScaledParameter(centsParameter, u"Cents", u"CenX", u"cents", -4100,
                                           3600, 0, 0, ParameterInfo::kIsReadOnly);
    privateParameters.addParameter(cents);
    auto* change = new VST3_ScaledParameter(pitchChangeParameter, u"Pitch Change", u"PChX", u"cents",
                                            -pitchChangeRange, pitchChangeRange, 0, 0,
                                            ParameterInfo::kIsReadOnly);
    privateParameters.addParameter(change);
}

} // namespace corvane

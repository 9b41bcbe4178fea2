#include "options/Corvane_PreferencesFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "effect/Corvane_Version.h"
#include "panel/Corvane_KeyCommands.h"

const Corvane_OptionsDlgData defaultPreferences = {
    240, 10, 5, true, true, true, 20, 0, 10,
    3, 4, 5, 6, 7, 8, 9, 10, 11, 12,
    850, 630, true, "Corvane + Time", true, true, 2, true,
};

namespace {

using R = Corvane_OptionsDlgData;

template <typename T, T R::*field>
int64_t getField(const R& record) { return static_cast<int64_t>(record.*field); }
template <typename T, T R::*field>
void setField(R& record, int64_t value) { record.*field = static_cast<T>(value); }

bool knobStyleAllowed(int64_t value) { return value == 0 || value == 4 || value == 5; }
// A key may name any row of the command table but a separator.
bool keyCommandAllowed(int64_t value) { return corvane_key_commands[value].text[0] != '-'; }

struct PreferencesLine {
    const char* comment;
    int64_t minimum, maximum;
    int64_t (*get)(const R&);   // null for the version line
    void (*set)(R&, int64_t);
    bool (*allowed)(int64_t);   // beyond the limits; null when any value in them is
};

#define FIELD(type, name) &getField<type, &R::name>, &setField<type, &R::name>
#define KEY(digit, name) {"('" digit "' key)", 1, corvane_key_command_count - 1, FIELD(int32_t, name), keyCommandAllowed}

const PreferencesLine preferencesLines[corvane_preferences_lines] = {
    {"(prefs version - DO NOT CHANGE!)", corvane_preferences_version, corvane_preferences_version, nullptr, nullptr, nullptr},
    {"(buffer size 10..10800)", 10, 10800, FIELD(int32_t, bufferSeconds), nullptr},
    {"(max undos 1..20)", 1, 20, FIELD(int32_t, maxUndos), nullptr},
    {"(knob style 0[circular],4[linear],5[host])", 0, 5, FIELD(int32_t, knobOrientation), knobStyleAllowed},
    {"(custom cursors 0[off],1[on])", 0, 1, FIELD(bool, useCursors), nullptr},
    {"(show paste instructions 0[no],1[yes])", 0, 1, FIELD(bool, showPasteInstructions), nullptr},
    {"(retune speed for new lines 0..400)", 0, 400, FIELD(int64_t, defRetuneSpeedLines), nullptr},
    {"(retune speed for new curves 0..400)", 0, 400, FIELD(int64_t, defRetuneSpeedCurves), nullptr},
    {"(retune speed for new note objects 0..400)", 0, 400, FIELD(int64_t, defRetuneSpeedNotes), nullptr},
    KEY("1", keyBinding1), KEY("2", keyBinding2), KEY("3", keyBinding3), KEY("4", keyBinding4),
    KEY("5", keyBinding5), KEY("6", keyBinding6), KEY("7", keyBinding7), KEY("8", keyBinding8),
    KEY("9", keyBinding9), KEY("0", keyBinding0),
    {"(show time position 0[off],1[on])", 0, 1, FIELD(bool, showVerticalCursor), nullptr},
    {"(show I-beam instructions 0[no],1[yes])", 0, 1, FIELD(bool, showIBeamInstructions), nullptr},
    {"(plug-in width 850..4000)", 850, 4000, FIELD(int32_t, windowWidth), nullptr},
    {"(plug-in height 630..4000)", 630, 4000, FIELD(int32_t, windowHeight), nullptr},
    {"(show output curve 0[no],1[yes])", 0, 1, FIELD(bool, showOutputCurves), nullptr},
    {"(scroll delay 1..5)", 1, 5, FIELD(int32_t, scrollDelay), nullptr},
    {"(smooth scrolling 0[off],1[on])", 0, 1, FIELD(bool, scrollMethod), nullptr},
};

#undef KEY
#undef FIELD

// The value at the start of a line: optional spaces, an optional sign and
// decimal digits, then the end of the line, a tab or a space. False for
// anything else and for values beyond 64 bits.
bool parseValue(const std::string& line, int64_t* value) {
    const char* begin = line.c_str();
    while (*begin == ' ') ++begin;
    if (*begin != '-' && *begin != '+' && (*begin < '0' || *begin > '9')) return false;
    char* end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(begin, &end, 10);
    if (errno != 0 || end == begin) return false;
    if (*end != '\0' && *end != '\t' && *end != ' ' && *end != '\r') return false;
    *value = parsed;
    return true;
}

bool makeFolders(const std::string& fileName) {
    for (size_t slash = fileName.find('/', 1); slash != std::string::npos;
         slash = fileName.find('/', slash + 1)) {
        const std::string folder = fileName.substr(0, slash);
        if (::mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) return false;
    }
    return true;
}

} // namespace

std::string preferencesPath() {
    std::string base;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/') {
        base = config;
    } else {
        const char* home = std::getenv("HOME");
        if (!home || home[0] != '/') return {};
        base = std::string(home) + "/.config";
    }
    return base + "/" + corvane::vendor + "/Corvane+Time VST.txt";
}

bool readPreferences(const std::string& fileName, Corvane_OptionsDlgData* record) {
    if (!record) return false;
    struct stat info;
    if (::stat(fileName.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    std::ifstream file(fileName);
    if (!file) return false;
    std::string line;
    int64_t value = 0;
    if (!std::getline(file, line) || !parseValue(line, &value) || value != corvane_preferences_version)
        return false;
    bool complete = true;
    for (int i = 1; i < corvane_preferences_lines; ++i) {
        const PreferencesLine& row = preferencesLines[i];
        if (!std::getline(file, line)) return false;
        if (parseValue(line, &value) && value >= row.minimum && value <= row.maximum &&
            (!row.allowed || row.allowed(value)))
            row.set(*record, value);
        else
            complete = false;
    }
    return complete;
}

std::string formatPreferences(const Corvane_OptionsDlgData& record) {
    std::ostringstream text;
    for (const PreferencesLine& row : preferencesLines)
        text << (row.get ? row.get(record) : corvane_preferences_version) << '\t' << row.comment << '\n';
    return text.str();
}

bool writePreferences(const std::string& fileName, const Corvane_OptionsDlgData* record) {
    if (!record || fileName.empty() || !makeFolders(fileName)) return false;
    const std::string text = formatPreferences(*record);
    const std::string temporary = fileName + ".tmp";
    std::FILE* file = std::fopen(temporary.c_str(), "w");
    if (!file) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) != 0 || !written || std::rename(temporary.c_str(), fileName.c_str()) != 0) {
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

bool setInstructionsShown(const std::string& fileName, int which, bool show) {
    Corvane_OptionsDlgData record = defaultPreferences;
    readPreferences(fileName, &record);
    if (which == 0)
        record.showPasteInstructions = show;
    else if (which == 1)
        record.showIBeamInstructions = show;
    else
        return false;
    return writePreferences(fileName, &record);
}

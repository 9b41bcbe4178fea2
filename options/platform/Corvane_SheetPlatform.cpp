#include "options/platform/Corvane_SheetPlatform.h"

#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <vector>

#include "panel/Corvane_KeyCommands.h"

using namespace VSTGUI;
using F = Corvane_OptionsForm;

extern char** environ;

namespace {

constexpr CCoord alertWidth = 460;
constexpr CCoord buttonWidth = 90;
constexpr CCoord rowHeight = 22;

bool isFolder(const std::string& path)
{
    struct stat info;
    return !path.empty() && ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The full path of a program found in PATH, empty when none.
std::string findProgram(const char* name)
{
    const char* path = std::getenv("PATH");
    std::string dirs = path ? path : "";
    size_t start = 0;
    while (start <= dirs.size()) {
        size_t end = dirs.find(':', start);
        if (end == std::string::npos) end = dirs.size();
        const std::string candidate = dirs.substr(start, end - start) + "/" + name;
        if (end > start && ::access(candidate.c_str(), X_OK) == 0) return candidate;
        start = end + 1;
    }
    return {};
}

// Runs the desktop's chooser and waits for it, handling the editor's window
// meanwhile under a sheet that says so. 0 with the folder, -1 when the user
// cancelled, -2 when no chooser could be run.
int runDesktopChooser(CFrame* frame, const std::string& startPath, std::string* outPath)
{
    std::vector<std::string> args;
    if (std::string zenity = findProgram("zenity"); !zenity.empty()) {
        args = {zenity, "--file-selection", "--directory", "--title=Choose a Folder",
                "--filename=" + startPath + "/"};
    } else if (std::string kdialog = findProgram("kdialog"); !kdialog.empty()) {
        args = {kdialog, "--getexistingdirectory", startPath, "--title", "Choose a Folder"};
    } else {
        return -2;
    }
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return -2;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (spawned != 0) {
        ::close(pipeFds[0]);
        return -2;
    }
    auto* sheet = new Corvane_Sheet(frame->getViewSize(), alertWidth, 70);
    sheet->addLabel(CRect(20, 24, alertWidth - 20, 44), "Choose a folder in the window that opened.");
    sheet->show(frame, nullptr);
    sheet->forget();
    std::string output;
    for (;;) {
        pollfd fd = {pipeFds[0], POLLIN, 0};
        if (::poll(&fd, 1, 30) > 0) {
            char buffer[4096];
            const ssize_t n = ::read(pipeFds[0], buffer, sizeof buffer);
            if (n <= 0) break;
            output.append(buffer, size_t(n));
        }
        frame->runEvents(0);
    }
    ::close(pipeFds[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    if (frame->getModalView() == sheet) frame->setModalView(nullptr);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127) return -2;
    while (!output.empty() && (output.back() == '\n' || output.back() == '\r')) output.pop_back();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !isFolder(output)) return -1;
    *outPath = output;
    return 0;
}

} // namespace

Corvane_Sheet* makeAlertSheet(const CRect& frameSize, const std::string& title, const std::string& text,
                              bool critical, const char* suppressionTitle, bool withCancel, CCheckBox** box)
{
    // The height follows the text: build once to measure, then lay out.
    auto measureSheet = makeOwned<Corvane_Sheet>(frameSize, alertWidth, 10);
    const CCoord textHeight = measureSheet->addParagraph(CRect(20, 0, alertWidth - 20, 0), text);
    const CCoord boxTop = 52 + textHeight + 10;
    const CCoord buttonsTop = boxTop + (suppressionTitle ? rowHeight + 12 : 4);
    auto* sheet = new Corvane_Sheet(frameSize, alertWidth, buttonsTop + rowHeight + 16);
    sheet->addLabel(CRect(20, 16, alertWidth - 20, 40), (critical ? "\xE2\x9A\xA0 " : "") + title, true);
    sheet->addParagraph(CRect(20, 52, alertWidth - 20, 52), text);
    if (box) *box = nullptr;
    if (suppressionTitle) {
        CCheckBox* check = sheet->addCheckBox(CRect(20, boxTop, alertWidth - 20, boxTop + rowHeight),
                                              suppressionTitle, false);
        if (box) *box = check;
    }
    const CCoord right = alertWidth - 20;
    CTextButton* ok = sheet->addButton(CRect(right - buttonWidth, buttonsTop, right, buttonsTop + rowHeight),
                                       "OK", 1);
    sheet->setDefaultButton(ok);
    if (withCancel) {
        CTextButton* cancel = sheet->addButton(
            CRect(right - 2 * buttonWidth - 10, buttonsTop, right - buttonWidth - 10, buttonsTop + rowHeight),
            "Cancel", 0);
        sheet->setCancelButton(cancel);
    } else {
        sheet->setCancelButton(ok);
    }
    return sheet;
}

Corvane_Sheet* makeOptionsSheet(const CRect& frameSize, F& form, CTextEdit* fields[F::kTextFieldCount])
{
    constexpr CCoord width = 640, height = 560;
    auto* sheet = new Corvane_Sheet(frameSize, width, height);
    sheet->addLabel(CRect(20, 12, 300, 36), "Options", true);
    sheet->addLabel(CRect(320, 12, width - 20, 36), form.versionText, false, kRightText);

    auto field = [&](F::TextField which, const char* label, CCoord top) {
        sheet->addLabel(CRect(20, top, 190, top + rowHeight), label);
        fields[which] = sheet->addField(CRect(190, top, 280, top + rowHeight), form.text[which]);
    };
    field(F::kBufferSeconds, "Buffer Seconds", 48);
    field(F::kMaxUndos, "Max Undos", 76);
    field(F::kScrollDelay, "Scroll delay", 104);

    // Radio groups: a click ticks one and clears the rest of its group.
    struct Radio { CCheckBox* box; int tag; int group; };
    auto radios = std::make_shared<std::vector<Radio>>();
    auto radioRow = [&](const char* label, CCoord top, int group, int current,
                        std::initializer_list<std::pair<const char*, int>> cells) {
        // Three cells end well before the number keys' column at 330.
        sheet->addLabel(CRect(20, top, 100, top + rowHeight), label);
        CCoord left = 100;
        for (const auto& [title, tag] : cells) {
            radios->push_back({sheet->addCheckBox(CRect(left, top, left + 76, top + rowHeight), title,
                                                  tag == current, true), tag, group});
            left += 76;
        }
    };
    radioRow("Scrolling", 132, 0, form.scrollMethodTag, {{"Smooth", 1}, {"Jump", 0}});
    radioRow("Knob style", 160, 1, form.knobOrientationTag, {{"Circular", 0}, {"Linear", 4}, {"Host", 5}});
    sheet->setCheckAction([radios](CCheckBox* box) {
        for (const Radio& r : *radios) {
            if (r.box != box) continue;
            for (const Radio& other : *radios)
                if (other.group == r.group && other.box != box) { other.box->setValue(0); other.box->invalid(); }
        }
    });

    CCheckBox* cursors = sheet->addCheckBox(CRect(20, 194, 300, 194 + rowHeight), "Custom cursors", form.useCursors);
    CCheckBox* position = sheet->addCheckBox(CRect(20, 218, 300, 218 + rowHeight), "Show time position",
                                             form.showVerticalCursor);
    CCheckBox* output = sheet->addCheckBox(CRect(20, 242, 300, 242 + rowHeight), "Show output curve",
                                           form.showOutputCurves);

    sheet->addLabel(CRect(20, 278, 300, 278 + rowHeight), "Retune speed of new", true);
    field(F::kRetuneSpeedLines, "Retune Speed - Lines", 304);
    field(F::kRetuneSpeedCurves, "Retune Speed - Curves", 332);
    field(F::kRetuneSpeedNotes, "Retune Speed - Notes", 360);

    sheet->addLabel(CRect(20, 396, 300, 396 + rowHeight), "Plug-in window", true);
    field(F::kWindowWidth, "Window Width", 422);
    field(F::kWindowHeight, "Window Height", 450);
    auto sizeButton = [&](const char* title, CCoord left, void (*set)(F*)) {
        CTextEdit* width = fields[F::kWindowWidth];
        CTextEdit* height = fields[F::kWindowHeight];
        sheet->addButton(CRect(left, 480, left + 84, 480 + rowHeight), title, -1, [width, height, set] {
            F sizes;
            set(&sizes);
            width->setText(sizes.text[F::kWindowWidth].c_str());
            height->setText(sizes.text[F::kWindowHeight].c_str());
        });
    };
    sizeButton("Normal", 20, setNormalWindowSize);
    sizeButton("Wide", 110, setWideWindowSize);
    sizeButton("Large", 200, setLargeWindowSize);

    sheet->addLabel(CRect(330, 48, width - 20, 48 + rowHeight), "Number keys", true);
    COptionMenu* keys[10];
    static const char* const keyNames[10] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "0"};
    for (int i = 0; i < 10; ++i) {
        const CCoord top = 76 + i * 28;
        sheet->addLabel(CRect(330, top, 360, top + rowHeight), std::string("'") + keyNames[i] + "'");
        keys[i] = sheet->addPopUp(CRect(360, top, width - 20, top + rowHeight));
        for (const Corvane_KeyCommand& row : corvane_key_commands) {
            if (row.text[0] == '-') keys[i]->addSeparator();
            else keys[i]->addEntry(row.text);
        }
        keys[i]->setCurrent(form.keyBinding[i], true);
    }

    CCheckBox* asDefault = sheet->addCheckBox(CRect(330, 480, width - 20, 480 + rowHeight), "Save as default",
                                              form.saveAsDefault);
    const CCoord top = height - rowHeight - 16, right = width - 20;
    std::array<CTextEdit*, F::kTextFieldCount> textFields;
    std::copy(fields, fields + F::kTextFieldCount, textFields.begin());
    CTextButton* save = sheet->addButton(CRect(right - buttonWidth, top, right, top + rowHeight), "Save", 1,
                                         [=, &form] {
        for (int i = 0; i < F::kTextFieldCount; ++i) form.text[i] = textFields[i]->getText();
        for (const Radio& r : *radios) {
            if (!r.box->isChecked()) continue;
            (r.group == 0 ? form.scrollMethodTag : form.knobOrientationTag) = r.tag;
        }
        form.useCursors = cursors->isChecked();
        form.showVerticalCursor = position->isChecked();
        form.showOutputCurves = output->isChecked();
        form.saveAsDefault = asDefault->isChecked();
        for (int i = 0; i < 10; ++i) form.keyBinding[i] = keys[i]->getCurrentIndex(true);
    });
    CTextButton* cancel = sheet->addButton(
        CRect(right - 2 * buttonWidth - 10, top, right - buttonWidth - 10, top + rowHeight), "Cancel", 0);
    sheet->setDefaultButton(save);
    sheet->setCancelButton(cancel);
    return sheet;
}

Corvane_Sheet* makeFolderSheet(const CRect& frameSize, const std::string& startPath, std::string* chosen,
                               CTextEdit** fieldOut)
{
    constexpr CCoord width = 520;
    auto* sheet = new Corvane_Sheet(frameSize, width, 150);
    sheet->addLabel(CRect(20, 16, width - 20, 40), "Choose a Folder", true);
    sheet->addLabel(CRect(20, 48, width - 20, 48 + rowHeight), "Type the path of the folder:");
    CTextEdit* field = sheet->addField(CRect(20, 74, width - 20, 74 + rowHeight), startPath);
    CTextLabel* problem = sheet->addLabel(CRect(20, 110, 300, 110 + rowHeight), "");
    const CCoord right = width - 20;
    CTextButton* ok = sheet->addButton(CRect(right - buttonWidth, 110, right, 110 + rowHeight), "Choose", -1,
                                       [sheet, field, problem, chosen] {
        if (!isFolder(field->getText())) {
            problem->setText("There is no folder of that name.");
            return;
        }
        *chosen = field->getText();
        sheet->end(true);
    });
    CTextButton* cancel = sheet->addButton(
        CRect(right - 2 * buttonWidth - 10, 110, right - buttonWidth - 10, 110 + rowHeight), "Cancel", 0);
    sheet->setDefaultButton(ok);
    sheet->setCancelButton(cancel);
    if (fieldOut) *fieldOut = field;
    return sheet;
}

Corvane_Sheet* makeFolderDlgSheet(const CRect& frameSize, const Corvane_FolderDlgItems& items, int* pressed,
                                  std::string* nameText)
{
    using A = Corvane_FolderDlgData;
    // One layout for every state, so that the buttons stay where they are
    // from one action to the next: the location takes up to three lines.
    constexpr CCoord width = 620, nameTop = 72 + 3 * 16 + 14, rowTop = nameTop + rowHeight + 20;
    auto* sheet = new Corvane_Sheet(frameSize, width, rowTop + 2 * (rowHeight + 12) + 12);
    sheet->addLabel(CRect(20, 16, width - 20, 40), "Data Folder Settings", true);
    sheet->addLabel(CRect(20, 48, width - 20, 48 + rowHeight), "Location of the data folder:");
    sheet->addParagraph(CRect(20, 72, width - 20, 72), items.parentText, items.parentInRed);
    sheet->addLabel(CRect(20, nameTop, 120, nameTop + rowHeight), "Folder name:");
    CTextEdit* name = sheet->addField(CRect(120, nameTop, 440, nameTop + rowHeight), items.nameText);
    name->setMouseEnabled(items.nameEditable);
    auto press = [sheet, pressed, nameText, name](int action) {
        return [sheet, pressed, nameText, name, action] {
            *pressed = action;
            *nameText = name->getText();
            sheet->end(false);
        };
    };
    auto button = [&](const CRect& r, const char* title, int action) {
        CTextButton* b = sheet->addButton(r, title, -1, press(action));
        if (!items.enabled[action]) {
            b->setMouseEnabled(false);
            b->setAlphaValue(0.4f);
        }
    };
    button(CRect(450, nameTop, width - 20, nameTop + rowHeight), "Rename Folder", A::kRename);
    const CCoord third = (width - 40 - 20) / 3;
    button(CRect(20, rowTop, 20 + third, rowTop + rowHeight), "Find Data Folder...", A::kFind);
    button(CRect(30 + third, rowTop, 30 + 2 * third, rowTop + rowHeight), "Set Up Folder Location...", A::kSetUp);
    button(CRect(40 + 2 * third, rowTop, width - 20, rowTop + rowHeight), "Move Data Files...", A::kMove);
    const CCoord lastTop = rowTop + rowHeight + 12;
    button(CRect(20, lastTop, 20 + third, lastTop + rowHeight), "Delete All Data Files...", A::kDeleteAll);
    CTextButton* done = sheet->addButton(CRect(width - 20 - buttonWidth, lastTop, width - 20, lastTop + rowHeight),
                                         "Done", 1, [pressed] { *pressed = -1; });
    sheet->setDefaultButton(done);
    sheet->setCancelButton(done);
    return sheet;
}

bool Corvane_SheetPlatform::showAlert(const std::string& title, const std::string& text, bool critical,
                                      const char* suppressionTitle)
{
    if (!frame || !frame->isOpen()) return false;
    CCheckBox* box = nullptr;
    SharedPointer<Corvane_Sheet> sheet(
        makeAlertSheet(frame->getViewSize(), title, text, critical, suppressionTitle, false, &box), false);
    sheet->run(frame, nullptr);
    return box && box->isChecked();
}

bool Corvane_SheetPlatform::confirmAlert(const std::string& title, const std::string& text)
{
    if (!frame || !frame->isOpen()) return false;
    SharedPointer<Corvane_Sheet> sheet(makeAlertSheet(frame->getViewSize(), title, text, false, nullptr, true, nullptr),
                                       false);
    return sheet->run(frame, nullptr);
}

int Corvane_SheetPlatform::chooseFolder(const std::string& startPath, std::string* outPath)
{
    if (!frame || !frame->isOpen() || !outPath) return -1;
    const int desktop = runDesktopChooser(frame, startPath, outPath);
    if (desktop != -2) return desktop;
    std::string chosen;
    CTextEdit* field = nullptr;
    SharedPointer<Corvane_Sheet> sheet(makeFolderSheet(frame->getViewSize(), startPath, &chosen, &field), false);
    if (!sheet->run(frame, field)) return -1;
    *outPath = chosen;
    return 0;
}

bool Corvane_SheetPlatform::runOptionsDialog(F& form, int focusField)
{
    if (!frame || !frame->isOpen()) return false;
    CTextEdit* fields[F::kTextFieldCount] = {};
    SharedPointer<Corvane_Sheet> sheet(makeOptionsSheet(frame->getViewSize(), form, fields), false);
    return sheet->run(frame, focusField >= 0 && focusField < F::kTextFieldCount ? fields[focusField] : nullptr);
}

bool Corvane_SheetPlatform::runFolderDialog(Corvane_FolderDlgPage& page)
{
    if (!frame || !frame->isOpen()) return false;
    for (;;) {
        int pressed = -1;
        std::string nameText;
        SharedPointer<Corvane_Sheet> sheet(makeFolderDlgSheet(frame->getViewSize(), page.items(), &pressed, &nameText),
                                           false);
        const bool done = sheet->run(frame, nullptr);
        if (done || pressed < 0 || !frame->isOpen()) return true;
        page.request(pressed, nameText);
        if (!frame->isOpen()) return true;
    }
}

#pragma once

// A menu button: shows the title of its current entry and, when clicked,
// a list of its entries drawn over the frame, from which a click picks
// the new current entry. The value is the index of the current entry.

#include "vstgui/lib/controls/cparamdisplay.h"

#include <string>
#include <vector>

namespace VSTGUI {

class CMenuItem : public CBaseObject {
public:
    enum Flags {
        kNoFlags = 0,
        kDisabled = 1 << 0,
        kTitle = 1 << 1,
        kChecked = 1 << 2,
        kSeparator = 1 << 3
    };

    CMenuItem(UTF8StringPtr title, int32_t flags = kNoFlags, int32_t tag = -1)
        : title(title ? title : ""), flags(flags), tag(tag)
    {
    }

    UTF8StringPtr getTitle() const { return title.c_str(); }
    void setTitle(UTF8StringPtr t) { title = t ? t : ""; }
    int32_t getTag() const { return tag; }
    void setTag(int32_t t) { tag = t; }
    bool isChecked() const { return (flags & kChecked) != 0; }
    void setChecked(bool state) { flags = state ? (flags | kChecked) : (flags & ~kChecked); }
    bool isEnabled() const { return (flags & kDisabled) == 0; }
    void setEnabled(bool state) { flags = state ? (flags & ~kDisabled) : (flags | kDisabled); }
    bool isTitle() const { return (flags & kTitle) != 0; }
    bool isSeparator() const { return (flags & kSeparator) != 0; }

    CLASS_METHODS(CMenuItem, CBaseObject)

private:
    std::string title;
    int32_t flags;
    int32_t tag;
};

class COptionMenu : public CParamDisplay {
public:
    enum { kMultipleCheckStyle = 1 << 10, kCheckStyle = 1 << 11, kPopupStyle = 1 << 12 };

    COptionMenu(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background = nullptr,
                CBitmap* bgWhenClick = nullptr, const int32_t style = 0);
    explicit COptionMenu(const CRect& size = CRect());
    COptionMenu(const COptionMenu& menu);

    //--- Entries. The maximum follows the number of entries.
    CMenuItem* addEntry(CMenuItem* item, int32_t index = -1);
    CMenuItem* addEntry(UTF8StringPtr title, int32_t index = -1, int32_t itemFlags = CMenuItem::kNoFlags);
    CMenuItem* addSeparator(int32_t index = -1);
    bool removeEntry(int32_t index);
    bool removeAllEntry();
    int32_t getNbEntries() const { return int32_t(items.size()); }
    CMenuItem* getEntry(int32_t index) const;
    CMenuItem* getCurrent() const { return getEntry(currentIndex); }
    // The current index; without countSeparator, separators before it are
    // not counted.
    int32_t getCurrentIndex(bool countSeparator = false) const;
    bool setCurrent(int32_t index, bool countSeparator = true);
    bool checkEntry(int32_t index, bool state);
    bool isCheckEntry(int32_t index) const;
    int32_t getLastResult() const { return lastResult; }

    // Opens the list over the frame; false when the menu is not in a frame
    // or has no entries.
    virtual bool popup();
    bool isPopupOpen() const { return popupOpen; }
    // What a pick from the list does: the entry becomes current, as an edit
    // of the value.
    void selectEntry(int32_t index);

    void setValue(float val) override;
    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;

    CLASS_METHODS(COptionMenu, CParamDisplay)

private:
    friend class OptionMenuPopup;
    void updateRange();

    std::vector<SharedPointer<CMenuItem>> items;
    int32_t currentIndex = -1;
    int32_t lastResult = -1;
    SharedPointer<CBitmap> bgWhenClick;
    bool popupOpen = false;
};

} // namespace VSTGUI

#pragma once

// The view creators of the library's own classes, and helpers for writing
// creators: attribute names are listed in tables of name and type.

#include "vstgui/uidescription/iviewcreator.h"

namespace VSTGUI {

class CBitmap;
class IUIDescription;

namespace UIViewCreator {

// Registers the creators of CView, CViewContainer, CControl, CParamDisplay,
// CTextLabel, COptionMenu, CHorizontalSwitch, COnOffButton, CKickButton,
// CKnob, CAnimKnob and CVuMeter. Done once, by the factory.
void registerBuiltinViewCreators();

// The name a description gives a bitmap: its name in the description, else
// its resource name, else its resource number.
bool bitmapToString(const CBitmap* bitmap, std::string& string, const IUIDescription* desc);

struct AttributeEntry {
    const char* name;
    IViewCreator::AttrType type;
};

} // namespace UIViewCreator

// A creator whose attributes stand in a table.
class TableViewCreator : public IViewCreator {
public:
    TableViewCreator(const UIViewCreator::AttributeEntry* table, size_t count) : table(table), count(count) {}
    bool getAttributeNames(std::list<std::string>& attributeNames) const override;
    AttrType getAttributeType(const std::string& attributeName) const override;

private:
    const UIViewCreator::AttributeEntry* table;
    size_t count;
};

} // namespace VSTGUI

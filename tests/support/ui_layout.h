#pragma once

// Where the views of a UI description file stand: the file is read with
// expat (not with the plug-in's own loader), and every view of one template
// is listed with its rectangle in the template's coordinates, its class,
// its "view-name" and its control tag. Tests find the controls they press
// and the regions they compare here, instead of guessing positions.

#include <expat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace test_panel {

struct Rect {
    int x = 0, y = 0, width = 0, height = 0;

    int right() const { return x + width; }
    int bottom() const { return y + height; }
    int centreX() const { return x + width / 2; }
    int centreY() const { return y + height / 2; }
    bool contains(int px, int py) const { return px >= x && py >= y && px < right() && py < bottom(); }
};

struct UiView {
    std::string className;
    std::string name;  // "view-name", empty when absent
    int tag = -1;      // the control tag as a number, -1 without one
    Rect rect;         // in the template's coordinates
    int depth = 0;     // 1 for the template's own children
    std::string bitmap;  // the file of its "bitmap", empty without one
};

class UiLayout {
public:
    // Reads the template of that name; false with the reason in error().
    bool load(const std::string& path, const std::string& templateName)
    {
        std::ifstream file(path, std::ios::binary);
        if (!file) return failWith("cannot open " + path);
        const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        wanted = templateName;
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, &UiLayout::onStart, &UiLayout::onEnd);
        const bool parsed = XML_Parse(parser, text.data(), int(text.size()), 1) != XML_STATUS_ERROR;
        if (!parsed) reason = path + ": " + XML_ErrorString(XML_GetErrorCode(parser));
        XML_ParserFree(parser);
        if (!parsed) return false;
        if (!templateFound) return failWith(path + ": no template " + templateName);
        // Tags and bitmaps may be defined after their first use.
        for (size_t i = 0; i < list.size(); ++i) {
            if (list[i].tag == -2) list[i].tag = tagOf(pendingTags[i]);
            auto bitmap = bitmaps.find(pendingBitmaps[i]);
            if (bitmap != bitmaps.end()) list[i].bitmap = bitmap->second;
        }
        return true;
    }

    const std::string& error() const { return reason; }
    const Rect& templateRect() const { return size; }
    // "minSize" and "maxSize" of the template (zero when absent).
    const Rect& minimumSize() const { return minSize; }
    const Rect& maximumSize() const { return maxSize; }
    const std::vector<UiView>& views() const { return list; }

    // The view of that "view-name", or null.
    const UiView* find(const std::string& name) const
    {
        for (const auto& v : list) {
            if (v.name == name) return &v;
        }
        return nullptr;
    }

    // The views inside a view, at any depth.
    std::vector<const UiView*> descendantsOf(const UiView& parent) const
    {
        std::vector<const UiView*> inside;
        for (size_t i = size_t(&parent - list.data()) + 1; i < list.size() && list[i].depth > parent.depth; ++i)
            inside.push_back(&list[i]);
        return inside;
    }

private:
    static bool readPair(const char* text, int& a, int& b)
    {
        if (text == nullptr) return false;
        char* end = nullptr;
        const double first = std::strtod(text, &end);
        if (end == text) return false;
        while (*end == ' ' || *end == ',') ++end;
        const char* second = end;
        const double other = std::strtod(second, &end);
        if (end == second) return false;
        a = int(first);
        b = int(other);
        return true;
    }

    static const char* attribute(const char** attributes, const char* name)
    {
        for (int i = 0; attributes[i]; i += 2) {
            if (std::string(attributes[i]) == name) return attributes[i + 1];
        }
        return nullptr;
    }

    int tagOf(const std::string& text) const
    {
        if (text.empty()) return -1;
        auto it = tags.find(text);
        if (it != tags.end()) return it->second;
        char* end = nullptr;
        const long n = std::strtol(text.c_str(), &end, 10);
        return (end != text.c_str() && *end == '\0') ? int(n) : -1;
    }

    static void XMLCALL onStart(void* data, const char* element, const char** attributes)
    {
        auto* self = static_cast<UiLayout*>(data);
        const std::string name = element;
        if (name == "control-tag") {
            const char* tagName = attribute(attributes, "name");
            const char* tag = attribute(attributes, "tag");
            if (tagName && tag) self->tags[tagName] = std::atoi(tag);
            return;
        }
        if (name == "bitmap") {
            const char* bitmapName = attribute(attributes, "name");
            const char* path = attribute(attributes, "path");
            if (bitmapName && path) self->bitmaps[bitmapName] = path;
            return;
        }
        if (name == "template") {
            const char* templateName = attribute(attributes, "name");
            self->inTemplate = templateName && self->wanted == templateName;
            if (!self->inTemplate) return;
            self->templateFound = true;
            readPair(attribute(attributes, "size"), self->size.width, self->size.height);
            readPair(attribute(attributes, "minSize"), self->minSize.width, self->minSize.height);
            readPair(attribute(attributes, "maxSize"), self->maxSize.width, self->maxSize.height);
            self->origins.assign(1, {0, 0});
            return;
        }
        if (name != "view" || !self->inTemplate) return;
        UiView view;
        const char* className = attribute(attributes, "class");
        const char* viewName = attribute(attributes, "view-name");
        view.className = className ? className : "";
        view.name = viewName ? viewName : "";
        int x = 0, y = 0;
        readPair(attribute(attributes, "origin"), x, y);
        readPair(attribute(attributes, "size"), view.rect.width, view.rect.height);
        view.rect.x = self->origins.back().first + x;
        view.rect.y = self->origins.back().second + y;
        view.depth = int(self->origins.size());
        const char* tag = attribute(attributes, "control-tag");
        view.tag = tag ? -2 : -1;
        self->pendingTags.push_back(tag ? tag : "");
        const char* bitmap = attribute(attributes, "bitmap");
        self->pendingBitmaps.push_back(bitmap ? bitmap : "");
        self->list.push_back(view);
        self->origins.push_back({view.rect.x, view.rect.y});
    }

    static void XMLCALL onEnd(void* data, const char* element)
    {
        auto* self = static_cast<UiLayout*>(data);
        const std::string name = element;
        if (name == "template") {
            self->inTemplate = false;
        } else if (name == "view" && self->inTemplate && self->origins.size() > 1) {
            self->origins.pop_back();
        }
    }

    bool failWith(const std::string& message)
    {
        reason = message;
        return false;
    }

    std::string wanted;
    std::string reason;
    bool inTemplate = false;
    bool templateFound = false;
    Rect size, minSize, maxSize;
    std::map<std::string, int> tags;
    std::map<std::string, std::string> bitmaps;
    std::vector<std::pair<int, int>> origins;
    std::vector<UiView> list;
    std::vector<std::string> pendingTags;
    std::vector<std::string> pendingBitmaps;
};

} // namespace test_panel

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
        if (XML_Parse(parser, text.data(), int(text.size()), 1) == XML_STATUS_ERROR)
            reason = path + ": " + XML_ErrorString(XML_GetErrorCode(parser));
        XML_ParserFree(parser);
        if (!reason.empty()) return false;
        if (!templateFound) return failWith(path + ": no template " + templateName);
        // Tags and bitmaps may be defined after their first use.
        for (size_t i = 0; i < list.size(); ++i) {
            list[i].tag = tagOf(pending[i].first);
            const auto bitmap = bitmaps.find(pending[i].second);
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
    // "x, y" into a and b, left as they are when absent.
    static void readPair(const char* text, int& a, int& b)
    {
        double x = 0.0, y = 0.0;
        if (text && std::sscanf(text, "%lf ,%lf", &x, &y) == 2) {
            a = int(x);
            b = int(y);
        }
    }

    // A tag by its name or as a number; -1 for none.
    int tagOf(const std::string& text) const
    {
        const auto it = tags.find(text);
        if (it != tags.end()) return it->second;
        char* end = nullptr;
        const long n = std::strtol(text.c_str(), &end, 10);
        return !text.empty() && *end == '\0' ? int(n) : -1;
    }

    static void XMLCALL onStart(void* data, const char* element, const char** attributes)
    {
        auto* self = static_cast<UiLayout*>(data);
        const std::string name = element;
        auto attribute = [attributes](const char* key) -> const char* {
            for (int i = 0; attributes[i]; i += 2) {
                if (std::string(attributes[i]) == key) return attributes[i + 1];
            }
            return nullptr;
        };
        auto text = [&](const char* key) { return std::string(attribute(key) ? attribute(key) : ""); };
        if (name == "control-tag" && attribute("name") && attribute("tag")) {
            self->tags[text("name")] = std::atoi(attribute("tag"));
        } else if (name == "bitmap" && attribute("name") && attribute("path")) {
            self->bitmaps[text("name")] = text("path");
        } else if (name == "template") {
            self->inTemplate = self->wanted == text("name");
            if (!self->inTemplate) return;
            self->templateFound = true;
            readPair(attribute("size"), self->size.width, self->size.height);
            readPair(attribute("minSize"), self->minSize.width, self->minSize.height);
            readPair(attribute("maxSize"), self->maxSize.width, self->maxSize.height);
            self->origins.assign(1, {0, 0});
        } else if (name == "view" && self->inTemplate) {
            UiView view;
            view.className = text("class");
            view.name = text("view-name");
            int x = 0, y = 0;
            readPair(attribute("origin"), x, y);
            readPair(attribute("size"), view.rect.width, view.rect.height);
            view.rect.x = self->origins.back().first + x;
            view.rect.y = self->origins.back().second + y;
            view.depth = int(self->origins.size());
            self->pending.emplace_back(text("control-tag"), text("bitmap"));
            self->list.push_back(view);
            self->origins.push_back({view.rect.x, view.rect.y});
        }
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
    // Each view's control tag and bitmap as written, resolved after reading.
    std::vector<std::pair<std::string, std::string>> pending;
};

} // namespace test_panel

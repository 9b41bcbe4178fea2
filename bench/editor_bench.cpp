// Cost of the editor on the interface thread: one tick of the panel's timer
// while nothing changes, and one redraw of the whole panel offscreen. The
// panel is the bundle's own, built from its UI description and pictures;
// the timer runs every 20 ms, so a tick of 0.2 ms is 1% of a core.

#include <benchmark/benchmark.h>

#include <string>

#include "effect/Corvane_SingleComponentEffect.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/lib/cresourcedescription.h"

#ifndef CORVANE_BUNDLE_PATH
#error "CORVANE_BUNDLE_PATH must name the bundle whose resources the editor uses"
#endif

namespace {

// An initialized, active effect with its editor open in memory.
class OpenEditor {
public:
    explicit OpenEditor(int width = 0, int height = 0)
    {
        VSTGUI::setResourceDirectory(CORVANE_BUNDLE_PATH "/Contents/Resources");
        effect->initialize(nullptr);
        Steinberg::Vst::ProcessSetup setup{Steinberg::Vst::kRealtime, Steinberg::Vst::kSample32, 512, 48000.0};
        effect->setupProcessing(setup);
        effect->setActive(true);
        editor = dynamic_cast<VSTGUI::VST3Editor*>(effect->createView("editor"));
        if (editor && width > 0 && height > 0) {
            Steinberg::ViewRect size(0, 0, width, height);
            editor->onSize(&size);
        }
        if (editor && !editor->open(nullptr)) {
            editor->release();
            editor = nullptr;
        }
    }
    ~OpenEditor()
    {
        if (editor) {
            editor->close();
            editor->release();
        }
        effect->setActive(false);
        effect->terminate();
        effect->release();
        VSTGUI::setResourceDirectory(nullptr);
    }
    OpenEditor(const OpenEditor&) = delete;
    OpenEditor& operator=(const OpenEditor&) = delete;

    Corvane_SingleComponentEffect* effect = new Corvane_SingleComponentEffect();
    VSTGUI::VST3Editor* editor = nullptr;
};

void editor_timer_tick_idle(benchmark::State& state)
{
    OpenEditor open;
    if (open.editor == nullptr) {
        state.SkipWithError("the editor cannot be opened: is the bundle built?");
        return;
    }
    for (auto _ : state) {
        open.effect->onTimer();
        benchmark::ClobberMemory();
    }
}

void editor_full_redraw(benchmark::State& state)
{
    const int width = int(state.range(0)), height = int(state.range(1));
    OpenEditor open(width, height);
    if (open.editor == nullptr) {
        state.SkipWithError("the editor cannot be opened: is the bundle built?");
        return;
    }
    VSTGUI::CFrame* frame = open.editor->getFrame();
    auto picture = VSTGUI::owned(new VSTGUI::CBitmap(frame->getWidth(), frame->getHeight()));
    VSTGUI::COffscreenContext context(picture.get());
    const VSTGUI::CRect whole(0, 0, frame->getWidth(), frame->getHeight());
    for (auto _ : state) {
        context.beginDraw();
        frame->drawRect(&context, whole);
        context.endDraw();
        benchmark::ClobberMemory();
    }
}

} // namespace

BENCHMARK(editor_timer_tick_idle)->Unit(benchmark::kMicrosecond);
BENCHMARK(editor_full_redraw)->ArgNames({"width", "height"})->Args({850, 630})->Unit(benchmark::kMillisecond);

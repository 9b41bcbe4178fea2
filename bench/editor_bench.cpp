// Cost of the editor on the interface thread: one tick of the panel's timer
// while nothing changes, and one redraw of the whole panel offscreen. The
// panel is the bundle's own, built from its UI description and pictures;
// the timer runs every 20 ms, so a tick of 0.2 ms is 1% of a core.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <string>

#include "effect/Corvane_SingleComponentEffect.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/model/ObjectEditor.h"
#include "graph/views/Corvane_GraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "graph/views/Corvane_TimeEditTarget.h"
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

// A three-hour take at 44.1 kHz, 200 samples a frame: a voice gliding and
// wobbling, with a pause of 0.2 s every 2 s and a beat every half second.
constexpr double takeRate = 44100.0;
constexpr int64_t takeFrameSamples = 200;

TrackedFrameArray& threeHourTake()
{
    static TrackedFrameArray* frames = [] {
        auto* f = new TrackedFrameArray();
        const int64_t count = int64_t(3 * 3600 * takeRate / takeFrameSamples);
        f->allocate(count);
        for (int64_t i = 0; i < count; ++i) {
            TrackedFrame frame;
            frame.minSample = -0.4f;
            frame.maxSample = 0.4f;
            if (i % 441 >= 44) {
                const int32_t cents = int32_t(900 + 400 * std::sin(double(i) / 300.0) + 30 * std::sin(double(i) / 7.0));
                frame.centsA = cents;
                frame.centsB = cents + 2;
            }
            f->putAll(i, frame);
            if (i % 110 == 0) f->putBarBeat(i, int32_t(i / 440) + 1, uint8_t(i % 440 / 110 + 1));
        }
        f->extendTracked(count);
        return f;
    }();
    return *frames;
}

// A graph of the size over the take, its picture drawn; zoom 0 shows the
// whole take across the width.
std::unique_ptr<Corvane_GraphView> graphOverTake(int width, int height, int zoom, bool byCopy)
{
    auto view = std::make_unique<Corvane_GraphView>(VSTGUI::CRect(0, 0, width, height));
    TrackedFrameArray& take = threeHourTake();
    const double zoomX = zoom > 0 ? zoom : std::ceil(double(take.frameCount()) / width);
    view->setZoom({zoomX, 4.0});
    view->setFrames(&take, takeFrameSamples, takeRate);
    view->setScrollOffset({0.0, 2700.0 - height * 2.0});
    view->setScrollByCopy(byCopy);
    view->refresh(false, false, false);
    return view;
}

void graph_full_redraw(benchmark::State& state)
{
    auto view = graphOverTake(int(state.range(0)), int(state.range(1)), int(state.range(2)), true);
    for (auto _ : state) {
        view->refresh(false, false, false);
        benchmark::ClobberMemory();
    }
}

// Scrolls by a pixel (moving the picture, drawing one column) or by a
// page (drawing it all), turning back at the ends of the take.
void graph_scroll(benchmark::State& state)
{
    const bool page = state.range(2) != 0;
    auto view = graphOverTake(int(state.range(0)), int(state.range(1)), 1, true);
    bool right = true;
    for (auto _ : state) {
        int32_t moved = page ? (right ? view->pageRight() : view->pageLeft())
                             : (right ? view->scrollRight(1) : view->scrollLeft(1));
        if (moved == 0) right = !right;
        benchmark::ClobberMemory();
    }
}

// One tick of the panel's timer in Graph mode while the graph follows the
// play position a pixel a tick, with the part of the window it changed
// drawn, as the window's update does.
void editor_timer_tick_scrolling(benchmark::State& state)
{
    OpenEditor open;
    Corvane_GraphView* canvas =
        open.editor ? open.effect->getEditorPresenter().getViewRegistry().graphCanvas : nullptr;
    if (canvas == nullptr) {
        state.SkipWithError("the editor or its graph cannot be opened: is the bundle built?");
        return;
    }
    canvas->setFrames(&threeHourTake(), takeFrameSamples, takeRate);
    canvas->setScrollByCopy(true);
    VSTGUI::CFrame* frame = open.editor->getFrame();
    auto picture = VSTGUI::owned(new VSTGUI::CBitmap(frame->getWidth(), frame->getHeight()));
    VSTGUI::COffscreenContext context(picture.get());
    VSTGUI::CRect area = canvas->getViewSize();
    VSTGUI::CPoint corner = area.getTopLeft();
    canvas->localToFrame(corner);
    area.moveTo(corner);
    int64_t playhead = int64_t(canvas->getWidth() * 0.9);
    for (auto _ : state) {
        canvas->followPlayhead(playhead++, true, false);
        canvas->scrollRight(1);
        open.effect->onTimer();
        context.beginDraw();
        frame->drawRect(&context, area);
        context.endDraw();
        benchmark::ClobberMemory();
    }
}

// The pitch graph over the take with a note object made for every sung
// note, at a frame a pixel, its picture drawn.
struct PitchGraphOverTake {
    ObjectEditor editor;
    std::unique_ptr<Corvane_MainGraphView> view;

    PitchGraphOverTake(int width, int height)
    {
        TrackedFrameArray& take = threeHourTake();
        editor.attach(&take);
        editor.setRates(takeRate, double(takeFrameSamples));
        // A note over each sung stretch, on the semitone nearest its middle.
        static const ObjectList notes = [&] {
            ObjectList list;
            for (int64_t start = 44; start + 396 < take.frameCount(); start += 441) {
                const int64_t middle = start + 198;
                const int16_t pitch =
                    int16_t(100 * std::lround((900 + 400 * std::sin(double(middle) / 300.0)) / 100.0));
                ObjectRecord note, end;
                note.kind = KindNote;
                note.position = int32_t(start);
                note.pitch = pitch;
                end.kind = KindEnd;
                end.position = int32_t(start + 396);
                end.pitch = pitch;
                list.records.push_back(note);
                list.records.push_back(end);
            }
            return list;
        }();
        if (editor.currentList().empty()) {
            editor.getHistory().pushStep(notes);
            editor.applyAll();
        }
        view = std::make_unique<Corvane_MainGraphView>(VSTGUI::CRect(0, 0, width, height));
        view->setZoom({1.0, 4.0});
        view->setFrames(&take, takeFrameSamples, takeRate);
        view->setScrollOffset({double(take.frameCount() / 2), 2700.0 - height * 2.0});
        view->setObjects(&editor, [] { return NewObjectSettings(); });
        view->refresh(false, false, false);
    }
    // The first note whose body lies in sight, as a point of the view.
    // The Arrow picked and a point on a note in sight; false without one.
    bool arrowOnNote(VSTGUI::CPoint& where)
    {
        view->setTool(Corvane_GraphView::toolArrow);
        return noteInSight(where);
    }
    bool noteInSight(VSTGUI::CPoint& where) const
    {
        for (size_t i = 0; i + 1 < editor.currentList().count(); ++i) {
            const ObjectRecord& r = editor.currentList().records[i];
            const ObjectRecord& e = editor.currentList().records[i + 1];
            const int32_t x0 = view->docToPixelX(r.position), x1 = view->docToPixelX(e.position);
            const int32_t y = view->docToPixelY(Corvane_GraphView::topCents - r.pitch);
            if (r.kind == KindNote && x0 > 10 && x1 < view->getWidth() - 10 && x1 - x0 > 20 && y > 40 &&
                y < view->getHeight() - 40) {
                where = VSTGUI::CPoint((x0 + x1) / 2, y);
                return true;
            }
        }
        return false;
    }
};

void pitch_graph_full_redraw(benchmark::State& state)
{
    PitchGraphOverTake graph(int(state.range(0)), int(state.range(1)));
    for (auto _ : state) {
        graph.view->refresh(false, false, false);
        benchmark::ClobberMemory();
    }
    state.counters["objects"] = double(graph.editor.currentList().count());
}

// One mouse-moved event of an Arrow drag that moves a note up and down:
// the snapshot put back and the moved note drawn over it.
void pitch_graph_drag_event(benchmark::State& state)
{
    PitchGraphOverTake graph(int(state.range(0)), int(state.range(1)));
    VSTGUI::CPoint start;
    if (!graph.arrowOnNote(start)) {
        state.SkipWithError("no note in sight");
        return;
    }
    VSTGUI::CPoint p(start);
    graph.view->onMouseDown(p, VSTGUI::CButtonState(VSTGUI::kLButton));
    int step = 0;
    for (auto _ : state) {
        VSTGUI::CPoint q(start.x, start.y - 30 + (step++ % 60));
        graph.view->onMouseMoved(q, VSTGUI::CButtonState(VSTGUI::kLButton));
        benchmark::ClobberMemory();
    }
    graph.view->onMouseUp(p, VSTGUI::CButtonState(VSTGUI::kLButton));
}

// The end of a drag: the moved note laid over the list as a history step,
// the frames recomputed and the picture drawn; undone between runs.
void pitch_graph_drag_release(benchmark::State& state)
{
    PitchGraphOverTake graph(int(state.range(0)), int(state.range(1)));
    VSTGUI::CPoint start;
    if (!graph.arrowOnNote(start)) {
        state.SkipWithError("no note in sight");
        return;
    }
    for (auto _ : state) {
        VSTGUI::CPoint p(start), q(start.x, start.y - 25);
        graph.view->onMouseDown(p, VSTGUI::CButtonState(VSTGUI::kLButton));
        graph.view->onMouseMoved(q, VSTGUI::CButtonState(VSTGUI::kLButton));
        graph.view->onMouseUp(q, VSTGUI::CButtonState(VSTGUI::kLButton));
        state.PauseTiming();
        graph.editor.undo();
        graph.view->refresh(false, false, false);
        state.ResumeTiming();
    }
}

// The owner of the time map, as the effect is: the map played is the one
// previewed last. Engine samples per frame: 200 at a decimation of 2.
struct BenchTimeOwner : Corvane_TimeEditTarget {
    static constexpr double scale = 100.0;
    TimeMap shown;
    explicit BenchTimeOwner(int64_t frames) : shown(TimeMap::identity(0.0, double(frames) * scale)) {}
    const TimeMap* mapInForce() override { return &shown; }
    double samplesPerFrameScale() override { return scale; }
    void previewMap(const TimeMap& map) override { shown = map; }
    void commitMap(const TimeMap& map) override { shown = map; }
};

// One mouse-moved event of a Move Point drag inside a time region half the
// view wide: the breakpoints moved, the map rebuilt and handed over, and
// the graph drawn anew through it.
void pitch_graph_move_point_event(benchmark::State& state)
{
    PitchGraphOverTake graph(int(state.range(0)), int(state.range(1)));
    BenchTimeOwner owner(threeHourTake().frameCount());
    Corvane_MainGraphView& view = *graph.view;
    view.setTimeEditing(&owner);
    view.setTimeControlOn(true);
    view.setTool(Corvane_GraphView::toolMovePoint);
    const int32_t w = int32_t(view.getWidth());
    view.setTimeRegions(view.pixelToDocX(w / 4), view.pixelToDocX(w * 3 / 4), 0, 0);
    VSTGUI::CPoint p(w / 2, view.getHeight() / 2);
    view.onMouseDown(p, VSTGUI::CButtonState(VSTGUI::kLButton));
    int step = 0;
    for (auto _ : state) {
        VSTGUI::CPoint q(w / 2 - 30 + (step++ % 60), p.y);
        view.onMouseMoved(q, VSTGUI::CButtonState(VSTGUI::kLButton));
        benchmark::ClobberMemory();
    }
    view.onMouseUp(p, VSTGUI::CButtonState(VSTGUI::kLButton));
}

} // namespace

BENCHMARK(pitch_graph_move_point_event)
    ->ArgNames({"width", "height"})
    ->Args({850, 630})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(pitch_graph_full_redraw)
    ->ArgNames({"width", "height"})
    ->Args({850, 630})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(pitch_graph_drag_event)
    ->ArgNames({"width", "height"})
    ->Args({850, 630})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(pitch_graph_drag_release)
    ->ArgNames({"width", "height"})
    ->Args({850, 630})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(graph_full_redraw)
    ->ArgNames({"width", "height", "zoom"})
    ->Args({850, 630, 1})
    ->Args({1920, 1080, 1})
    ->Args({850, 630, 0})
    ->Args({1920, 1080, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(graph_scroll)
    ->ArgNames({"width", "height", "page"})
    ->Args({850, 630, 0})
    ->Args({1920, 1080, 0})
    ->Args({850, 630, 1})
    ->Args({1920, 1080, 1})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(editor_timer_tick_scrolling)->Unit(benchmark::kMicrosecond);
BENCHMARK(editor_timer_tick_idle)->Unit(benchmark::kMicrosecond);
BENCHMARK(editor_full_redraw)->ArgNames({"width", "height"})->Args({850, 630})->Unit(benchmark::kMillisecond);

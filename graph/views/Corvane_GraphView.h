#pragma once

#include <cstdint>
#include <vector>

#include "Common_VST3/VSTGUI4_ScrollableView.h"

class TrackedFrameArray;
struct TrackedFrame;
class Corvane_CursorSet;
class TimeMap;

// The base of the time-based graph views: a scrolling view of the tracked
// frames. Document X counts frames, document Y counts 3600 - cents, so that
// 0 is the top of the range (3600 cents) and the lowest pitch, -4100 cents,
// lies at 7700. The picture lives in the inherited offscreen copy and is
// drawn only by repaint (whole, or the columns of frames that changed);
// `draw` copies it and lays the overlay on top. A drag that only shows
// something (a zoom band) draws over a still snapshot of the picture,
// `overlayOffscreen`, and never touches the frames.
//
// The frames are written by the audio thread while it tracks; the view
// reads them without a lock (TrackedFrameArray keeps each word whole) and
// learns of changed frames from the array's dirty range on each tick.
//
// Time control. With a time map in force (activeTimeMap), document X is
// output time: the frame at which a sound plays. The tracked frames, the
// correction objects, the I-beam range and the playhead stay in source time
// (the frame where a sound lies in the recording, the index of its tracked
// frame) and are only drawn and hit-tested through the map:
// frameToPixelMapped and pixelToFrameMapped. The ruler, its bars and beats
// and the position read-out belong to the host's timeline and so stay in
// document X; so do the time tools' regions, which are where the user sees
// them. Without a map both conversions are docToPixelX and pixelToDocX.
//
// Every operation: interface thread.
class Corvane_GraphView : public VSTGUI4_ScrollableView {
public:
    // Highest and lowest pitch of the document, cents.
    static constexpr int32_t topCents = 3600;
    static constexpr int32_t bottomCents = -4100;
    static constexpr int64_t documentHeight = topCents - bottomCents;
    // Height of the time labels' band at the top of the view, pixels.
    static constexpr int32_t rulerLabelBand = 12;

    // The tools of the graph, as the "Tool" switch numbers them.
    enum Tool : int32_t {
        toolDrawLines = 0,
        toolDrawCurves,
        toolDrawNotes,
        toolArrow,
        toolScissors,
        toolZoom,
        toolIBeam,
        toolHandScroll,
        toolMovePoint,
        toolMoveRegion,
        toolCount
    };
    // Cursor kinds: the library's CCursorType values, and this for a custom
    // cursor of Corvane_Cursors.h.
    static constexpr uint32_t customCursorKind = 10;

    explicit Corvane_GraphView(const VSTGUI::CRect& size);
    ~Corvane_GraphView() override;

    //--- What the view shows. Null frames give an empty document.
    // `framesPerSecond` is the host's rate over samplesPerFrame; 0 leaves
    // the ruler empty. The document's width becomes the array's capacity.
    void setFrames(TrackedFrameArray* frames, int64_t samplesPerFrame, double sampleRate);
    TrackedFrameArray* getFrames() const { return frameArray; }
    double getFramesPerSecond() const;
    // The tool that chooses the cursor and what a drag does.
    virtual void setTool(int32_t value);
    int32_t getTool() const { return tool; }
    // The ruler counts bars and beats instead of clock time.
    void setShowingBarsAndBeats(bool state);
    // The cursor pictures (may be null) and the user's choice of custom
    // cursors; without them the frame keeps the system's cursors.
    void setCursors(const Corvane_CursorSet* set, bool useCustom);
    bool getUseCustomCursors() const { return useCustomCursors; }

    //--- The editor's timer.
    // Frames that changed since the last call (the array's dirty range) are
    // drawn again where they are in sight; answers whether any were, and
    // their range when asked.
    bool takeChangedFrames(int64_t* changedLow = nullptr, int64_t* changedHigh = nullptr);
    // Frames low..high drawn again where they are in sight.
    void repaintFrames(int64_t low, int64_t high);
    // The play position in frames: with `autoScroll` on and the position
    // leaving the view, the view scrolls to keep it in sight.
    void followPlayhead(int64_t frame, bool playing, bool autoScroll);
    int64_t getPlayheadFrame() const { return playheadFrame; }
    // A drag held outside the view scrolls on, a step per autoScrollInterval,
    // even while the pointer stands still.
    virtual void continueDrag();

    //--- Virtual operations for the views built on this one.
    // Time control is on: a map is in force and the frames are drawn
    // through it.
    virtual bool isTimeControlOn() { return activeTimeMap() != nullptr; }
    // The map the frames are drawn through and, in `scale`, engine samples
    // per frame; null while time control is off. Here always null.
    virtual const TimeMap* activeTimeMap(double* scale = nullptr) const;
    virtual bool isShowingBarsAndBeats() { return barsAndBeats; }
    // Width and height of the view, pixels.
    virtual VSTGUI::CPoint getGraphSize() { return VSTGUI::CPoint(int32_t(getWidth()), int32_t(getHeight())); }
    virtual bool isPlaying() { return playing; }
    // Scratch entries of the bars-and-beats ruler: bar, beat and pixel X.
    struct Tick {
        int32_t bar;
        int32_t beat;
        int32_t x;
    };
    std::vector<Tick>* getTickBuffer() { return &tickBuffer; }
    // The cursor for the pointer at `where` (parent coordinates): `kind` a
    // CCursorType or customCursorKind with `id`. Here by the tool alone.
    virtual void getCursorAt(VSTGUI::CPoint where, VSTGUI::CButtonState buttons, uint32_t& kind, uint32_t& id);
    // Drawn over the picture on every draw: the playhead here.
    virtual void drawOverlay(VSTGUI::CDrawContext* context);
    // The time ruler between columns left..right: ticks the height of the
    // view and labels along the top, in clock time or in bars and beats.
    virtual void drawRuler(VSTGUI::CDrawContext* context, bool drawTicks, bool drawLabels, int32_t left,
                           int32_t right);
    // Chooses the cursor for the pointer; unchanged choices are not sent
    // again unless `force`.
    void setCursor(VSTGUI::CPoint where, VSTGUI::CButtonState buttons, bool force);
    uint32_t getLastCursorKind() const { return lastCursorKind; }
    uint32_t getLastCursorId() const { return lastCursorId; }

    //--- Source frames and document X (output frames) through the time
    // map in force; the identity while time control is off.
    // The pixel column of source frame `frame`.
    int32_t frameToPixelMapped(int64_t frame) const;
    // The source frame shown at pixel column x.
    int64_t pixelToFrameMapped(int32_t x) const;
    // Output frame of a source frame and back, fractional.
    double frameToOutput(double frame) const;
    double outputToFrame(double output) const;

    // What a band of a background shows: the I-beam's range (source
    // frames), else, with time control on, the time region and the move
    // region inside it (output frames); a range is empty when its start is
    // not below its end.
    struct BandRanges {
        int64_t selectionStart, selectionEnd;
        int64_t timeStart, timeEnd;
        int64_t moveStart, moveEnd;
    };
    // Fills columns left..right of rows top..bottom in `plain`, then the
    // ranges, each from its first column to one past its last: the I-beam's
    // in `selected`, the time region in (160,176,192), the move region in
    // (128,144,160). Placed through the time map, or as tracked when
    // `throughMap` is false.
    void drawBand(VSTGUI::CDrawContext* context, int32_t left, int32_t right, int32_t top, int32_t bottom,
                  const BandRanges& ranges, const VSTGUI::CColor& plain, const VSTGUI::CColor& selected,
                  bool throughMap = true);

    //--- VSTGUI4_ScrollableView
    void releaseOffscreens() override;
    // Background, octave lines, the tracked input pitch and the ruler.
    void drawContent(VSTGUI::CDrawContext* context, int32_t left, int32_t right) override;
    // Vertical scrolls move the picture but not the ruler's labels, which
    // stay along the top: their band is drawn again.
    int32_t scrollUp(int32_t count = 0) override;
    int32_t scrollDown(int32_t count = 0) override;
    int32_t horizontalStep() override { return int32_t(getWidth() * 0.025 + 0.5); }
    // Seven eighths of the width: a page keeps a strip of what was in sight.
    int32_t horizontalPage() override { return int32_t(getWidth() * 7 / 8); }

    //--- CView
    void draw(VSTGUI::CDrawContext* context) override;
    void drawRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& updateRect) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseEntered(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS(Corvane_GraphView, VSTGUI4_ScrollableView)

protected:
    // One step of a rubber band: scrolls when the pointer left the view,
    // puts the snapshot back over the picture and draws the band from
    // mouseDownPoint to `where` on it. False when no band can be drawn.
    bool dragBand(const VSTGUI::CPoint& where, const VSTGUI::CColor& colour);
    // The tracked input pitch in red between columns left..right: per
    // column the span of its voiced frames, joined to the column before.
    void drawInputPitch(VSTGUI::CDrawContext* context, int32_t left, int32_t right);
    // The smallest and largest sample of the filled frames from..to (to
    // excluded); false when none of them is filled.
    bool framePeaks(int64_t from, int64_t to, float& lo, float& hi) const;
    // The columns a drawContent call covers (all of them for a `right` below
    // 0), and the context's smooth one-pixel solid lines.
    void beginContent(VSTGUI::CDrawContext* context, int32_t& left, int32_t& right) const;
    // A pitch of the frames in `colour` between columns left..right, the
    // same way: `centsOf(frame, data)` gives a frame's cents, or
    // TrackedFrame::unvoicedCents where it has none.
    void drawPitchTrace(VSTGUI::CDrawContext* context, int32_t left, int32_t right, const VSTGUI::CColor& colour,
                        int32_t (*centsOf)(const TrackedFrame&, const void*), const void* data);
    // Draws the ruler's label band at the top of the picture again.
    void repaintLabelBand();
    // The picture made anew when the frame's content scale changed.
    void followFrameScale();
    // The document's width: the frames, or where the last of them plays
    // when time control stretches the take beyond them.
    void fitDocumentWidth();

    TrackedFrameArray* frameArray = nullptr;
    const Corvane_CursorSet* cursorBitmaps = nullptr;
    VSTGUI::SharedPointer<VSTGUI::COffscreenContext> overlayOffscreen;
    uint32_t lastCursorKind = 0;
    uint32_t lastCursorId = 0;
    VSTGUI::CButtonState lastButtons;
    int64_t anchorFrame = 0;
    std::vector<Tick> tickBuffer;
    int64_t samplesPerFrame = 200;
    double sampleRate = 0.0;
    int32_t tool = toolDrawLines;
    bool barsAndBeats = false;
    bool useCustomCursors = true;
    bool playing = false;
    int64_t playheadFrame = 0;
    bool cursorSent = false;
};

// Registers the creator of "Corvane_GraphView" (base
// "VSTGUI4_ScrollableView") and those of the graph views built on it with
// the view factory; once per process.
void Corvane_GraphView_register();

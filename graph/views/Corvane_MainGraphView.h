#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "graph/model/ObjectMaking.h"
#include "graph/model/ObjectRecord.h"
#include "graph/model/TimeBreakpointList.h"
#include "graph/model/TimeMap.h"
#include "graph/views/Corvane_GraphView.h"

class ObjectEditor;
class Corvane_EnvelopeGraphView;
class Corvane_TimeEditTarget;

// The pitch graph: frames across, cents upwards. It paints the tracked
// input pitch (red), the correction objects (notes as boxes, lines and
// curves in blue), the output pitch the objects give (green), the I-beam
// range, the note grid and the bar and beat lines of the ruler, and it is
// where the tools act. Every edit becomes a new object list laid over the
// one in force and pushed as a step of the object editor's history, so that
// undo and redo reach it and the frames it changes are recomputed.
//
// Modifiers: kShift snaps to the note grid (or frees a snapped tool when
// "Snap To Note" is on); kAlt (Option on a Mac) lets the Arrow move objects
// in time and makes the Zoom tool zoom out; kControl (Command on a Mac)
// holds a line level and adds to the Arrow's selection.
//
// Time control (see Corvane_GraphView for what lives in source time and
// what in output time). Two ranges of output frames steer the time tools:
// the time region, whose ends hold still while a point or a region inside
// it moves, and inside it the move region, which Move Region moves whole.
// The gestures, chosen at the press (`moveKind`):
// - Move Point: a drag inside the time region takes the point under the
//   pointer along, the stretch on one side and the squeeze on the other
//   evenly spread to the region's ends; a drag anywhere else over the take
//   selects a new time region (a click clears it).
// - Move Region: a drag inside the move region moves it, the two sides up
//   to the time region's ends taking up the difference; a drag elsewhere
//   inside the time region selects a new move region there; a drag over the
//   take outside the time region selects a new time region.
// The move is held within the stretch and compression limits, and the limit
// that holds it is named at the bottom left while it does. Each step of the
// drag has the engine play the new map; the release makes it one step of
// the time history, unless the drag came back to where it began.
// Without time control (the switch off, or no map) the time tools do
// nothing.
//
// Every operation: interface thread.
class Corvane_MainGraphView : public Corvane_GraphView {
public:
    // Fewest frames a drawn note spans.
    static constexpr int32_t shortestNoteFrames = 2;
    // Most corners of a line under construction.
    static constexpr size_t maxLineVertices = 256;
    // Pixels around a point or an edge that the hit test counts as on it.
    static constexpr int32_t hitReach = 4;

    // The hit test's answers: on a point of a line or curve (1), on a line's
    // last point (2), on a line's segment (3), on a curve (4), on a line's
    // first point (5), on a note's start edge (6) or end edge (7), inside a
    // note (8); 0 on empty ground.
    enum HitCode : int32_t {
        hitNone = 0,
        hitPoint = 1,
        hitLineEnd = 2,
        hitLineSegment = 3,
        hitCurve = 4,
        hitLineStart = 5,
        hitNoteStart = 6,
        hitNoteEnd = 7,
        hitNoteBody = 8,
    };

    // What the pointer is over, for the panel's read-outs; each `has` says
    // whether its pitch (cents) is known.
    struct Readout {
        bool hasInput = false, hasOutput = false, hasTarget = false;
        int32_t input = 0, output = 0, target = 0;
        char position[32] = "";
    };

    explicit Corvane_MainGraphView(const VSTGUI::CRect& size);
    ~Corvane_MainGraphView() override;

    //--- What the view edits. The editor (null: nothing can be edited) and
    // what a new object takes from the object knobs.
    void setObjects(ObjectEditor* editor, std::function<NewObjectSettings()> settings);
    ObjectEditor* getObjects() const { return objects; }
    // The list in force; an empty one without an editor.
    const ObjectList& currentList() const;
    void setSnapToNote(bool state) { snapToNote = state; }
    void setPitchOffset(int16_t cents);
    void setShowOutputCurve(bool state);
    // A vertical line under the pointer while no drag is on ("show time
    // position" in the options).
    void setShowTimePosition(bool state);
    // The MIDI notes recorded beside the take, as outlined bars a semitone
    // high ("Show MIDI").
    void setShowMidi(bool state);
    // A lane a semitone high for every note ("Show Lanes"), white for the
    // notes of the scale (`inScale`, by semitone above C) and grey for the
    // others; null `inScale` (a scale not of twelve notes) shows no lanes.
    void setLanes(bool show, const bool* inScale);
    // The views that follow this one: the envelope strip (refreshed with
    // the picture, and on horizontal scrolls while it is linked) and the
    // keyboard strip (marked dirty on vertical moves).
    void setFollowers(Corvane_EnvelopeGraphView* envelope, VSTGUI::CView* keyboard);
    // Called with the read-outs whenever the pointer's place changes.
    void setReadoutListener(std::function<void(const Readout&)> listener) { readoutListener = std::move(listener); }
    // Called after every edit the view made (a new history step).
    void setEditListener(std::function<void()> listener) { editListener = std::move(listener); }
    // Called when an I-beam drag has chosen a range (not on a double
    // click, which is the shortcut the I-beam's hint teaches).
    void setIBeamListener(std::function<void()> listener) { ibeamListener = std::move(listener); }

    //--- Time control. The owner of the time map (null: none) and the
    // switch "Enable Time Warping"; time control is on when the switch is
    // and a map is in force.
    void setTimeEditing(Corvane_TimeEditTarget* target);
    void setTimeControlOn(bool state);
    bool getTimeControlOn() const { return timeControlOn; }
    // The map in force changed outside a drag (undo, redo, clear all, a
    // session read): the document's width and both pictures follow.
    void timeMapChanged();
    // The I-beam range and the time regions, for the bands of a background
    // (this view's and the envelope strip's).
    BandRanges bandRanges() const;
    // The time tools' ranges in output frames; empty when start >= end.
    int64_t getTimeRegionStart() const { return timeRegionStart; }
    int64_t getTimeRegionEnd() const { return timeRegionEnd; }
    int64_t getMoveRegionStart() const { return moveRegionStart; }
    int64_t getMoveRegionEnd() const { return moveRegionEnd; }
    void setTimeRegions(int64_t timeStart, int64_t timeEnd, int64_t moveStart, int64_t moveEnd);
    // The limit holding the time drag: timeLimits::compressionLimit or
    // stretchLimit, 0 for none.
    int32_t getLimitMessage() const { return limitMessage; }

    //--- The I-beam range, frames; empty when start >= end.
    int64_t getSelectionStart() const { return selectionStart; }
    int64_t getSelectionEnd() const { return selectionEnd; }
    void setSelection(int64_t start, int64_t end);

    //--- Queries, in the view's own pixels.
    // The hit test of `list` at pixel (x, y): a HitCode, and the index of
    // the record whose object was hit.
    int32_t hitTest(const ObjectList& list, int32_t x, int32_t y, size_t& index) const;
    // Pitch at pixel row y in cents, and its nearest note from pitchOffset,
    // both kept in the objects' range.
    int32_t centsAtPixel(int32_t y) const;
    int32_t snappedCents(int32_t cents) const;
    // The read-outs for pixel (x, y).
    Readout readoutAt(int32_t x, int32_t y) const;

    //--- The line under construction. A pointer move with or without a
    // button: draws the line from its corners to the pointer (parent
    // coordinates) and answers true; false while no line is being drawn.
    bool moveRubberLine(VSTGUI::CPoint where, const VSTGUI::CButtonState& buttons);
    size_t getLineVertexCount() const { return lineVertices.size(); }
    // Lays the line drawn so far over the objects (two corners at least)
    // and ends the construction.
    bool finishLine();
    // Ends the construction without an edit.
    void cancelLine();

    //--- Paste. Paste is a drag: after beginPaste the next press on the
    // graph picks the copied objects up with the first at the pointer's
    // frame, they follow the pointer, and the release lays them there as one
    // step of the history. False (nothing to paste) leaves the view as it was.
    bool beginPaste();
    bool isPasting() const { return pasteMode; }
    // Escape: ends a paste, a line under construction or a drag without an
    // edit. False when none was going on.
    bool cancelGesture();

    //--- Corvane_GraphView
    // Another tool abandons a line under construction or a time drag.
    void setTool(int32_t value) override;
    void drawContent(VSTGUI::CDrawContext* context, int32_t left, int32_t right) override;
    void refresh(bool updateEnvelope, bool updateKeyboard, bool keepPicture) override;
    void getCursorAt(VSTGUI::CPoint where, VSTGUI::CButtonState buttons, uint32_t& kind, uint32_t& id) override;
    const TimeMap* activeTimeMap(double* scale = nullptr) const override;
    // The playhead, the limit message, the time drag's markers and the
    // time position line.
    void drawOverlay(VSTGUI::CDrawContext* context) override;
    void continueDrag() override;
    int32_t scrollUp(int32_t count = 0) override;
    int32_t scrollDown(int32_t count = 0) override;
    int32_t scrollLeft(int32_t count = 0) override;
    int32_t scrollRight(int32_t count = 0) override;
    // Up and down, a wheel step is a fortieth of the height and a page seven
    // eighths: the pitch moves about as far as a step in time does.
    int32_t verticalStep() override { return int32_t(getHeight() / 40 + 0.5); }
    int32_t verticalPage() override { return int32_t(getHeight() * 7 / 8 + 0.5); }

    //--- CView
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS(Corvane_MainGraphView, Corvane_GraphView)

    // Arrow drags: nothing, moving the selection, a note's start edge, a
    // note's end edge.
    enum DragMode : int32_t { dragGround = 0, dragSelection, dragNoteStart, dragNoteEnd };
    // What a drag of a time tool does: moves the point or the move region,
    // selects the move region, selects the time region.
    enum MoveKind : int32_t { moveTime = 0, moveSelectsMoveRegion = 1, moveSelectsTimeRegion = 2 };

protected:
    // A drag whose pointer left the graph scrolls it and moves the points
    // where the drag began and last was along.
    void scrollWithDrag(const VSTGUI::CPoint& where);
    // The objects of `list` between columns left..right: flag 1 lines and
    // curves, flag 2 notes.
    void drawObjects(VSTGUI::CDrawContext* context, const ObjectList& list, int32_t flags, int32_t left,
                     int32_t right);
    void drawNote(VSTGUI::CDrawContext* context, const ObjectRecord& start, const ObjectRecord& end,
                  int32_t left, int32_t right);
    void drawOutputPitch(VSTGUI::CDrawContext* context, int32_t left, int32_t right);
    void drawMidiBars(VSTGUI::CDrawContext* context, int32_t left, int32_t right);
    void drawLanes(VSTGUI::CDrawContext* context, int32_t left, int32_t right);
    void drawGrid(VSTGUI::CDrawContext* context, int32_t left, int32_t right);
    void drawWaveform(VSTGUI::CDrawContext* context, int32_t left, int32_t right, const VSTGUI::CColor& colour);
    // `next` becomes the newest history step; the picture follows.
    bool commit(ObjectList next);
    // The picture as it stands kept as the still snapshot under a band.
    void takeSnapshot();
    // The picture drawn without the objects being dragged (workingList in
    // place of the list in force) into both offscreens.
    void beginFloatingDrag();
    // Puts the still picture back and draws `list` over it.
    void drawFloating(const ObjectList& list);
    // Frame of a pixel column (parent X), kept inside the frames.
    int64_t frameAtX(VSTGUI::CCoord x) const;
    int32_t pixelOfCents(int32_t cents) const { return docToPixelY(int64_t(topCents) - cents); }
    void arrowDown(const VSTGUI::CPoint& local, const VSTGUI::CButtonState& buttons);
    void arrowDrag(const VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons);
    void arrowUp(const VSTGUI::CPoint& where);
    void split(int64_t frame);
    // The bar and beat of `frame` as "bar:beat", or between two
    // neighbouring beats "bar:beat.percent" of the way to the next; empty
    // when no such pair lies within half a view of the screen.
    void beatPosition(int64_t frame, char* text, size_t size) const;
    // The copied objects drawn over the picture at the pointer's frame.
    void pasteMoved(const VSTGUI::CPoint& where);
    // Marks the columns around pixel column x for redrawing (the time
    // position line); nothing for x below 0.
    void invalidColumn(int32_t x);
    void reportReadout(const VSTGUI::CPoint& where);
    void endDrag();
    // The time tools (Corvane_MainGraphView_time.cpp).
    void timeDown(const VSTGUI::CPoint& where);
    void timeDrag(const VSTGUI::CPoint& where);
    void timeUp();
    // Ends a time drag; the map at its start is played again unless the
    // drag was committed.
    void cancelTimeDrag();
    // The output frame under parent X, and whether the take has audio there.
    int64_t outputFrameAtX(VSTGUI::CCoord x) const;
    bool takeHasOutputFrame(int64_t output) const;
    // The output frames over which the take plays.
    void takeOutputSpan(double& first, double& last) const;

    ObjectEditor* objects = nullptr;
    std::function<NewObjectSettings()> newSettings;
    std::function<void(const Readout&)> readoutListener;
    std::function<void()> editListener;
    std::function<void()> ibeamListener;
    Corvane_EnvelopeGraphView* envelopeView = nullptr;
    VSTGUI::CView* keyboardView = nullptr;
    bool snapToNote = false;
    int16_t pitchOffset = 0;
    bool showOutputCurve = true;
    bool showTimePosition = false;
    bool showMidi = false;
    bool showLanes = false;
    bool lanesKnown = false;
    bool laneInScale[12] = {};

    // The list being edited under a drag and what floats over it.
    ObjectList workingList;
    ObjectList moveSource;
    ObjectList moveResult;
    // The list with the selection made at mouse-down, before any move.
    ObjectList pressedList;
    bool busy = false;
    bool pasteMode = false;
    int32_t dragMode = dragGround;
    int32_t hitCode = hitNone;
    int32_t mouseX = -1;
    int32_t lastReadX = -1, lastReadY = -1;

    int64_t selectionStart = 0;
    int64_t selectionEnd = 0;
    // Corners of the line under construction: frame and cents.
    struct Vertex {
        int64_t frame;
        int32_t cents;
    };
    std::vector<Vertex> lineVertices;
    // The pointer's last place on the rubber line, frame and cents.
    Vertex rubberEnd{0, 0};
    // Points of a curve being drawn, one per frame reached.
    std::vector<Vertex> freehandPoints;

    // Time control.
    Corvane_TimeEditTarget* timeEdit = nullptr;
    bool timeControlOn = false;
    int64_t timeRegionStart = 0, timeRegionEnd = 0;
    int64_t moveRegionStart = 0, moveRegionEnd = 0;
    // The time drag: whether one is on, its kind, the output frame pressed,
    // the anchors (left and right output frames, shiftRest for none) and
    // the moved point or region, the range its target may take and the
    // limit codes at each end of that range.
    bool timeDragging = false;
    int32_t moveKind = moveTime;
    double dragLeft = 0.0, dragRight = 0.0, dragStart = 0.0, dragEnd = 0.0;
    double lowerLimit = 0.0, upperLimit = 0.0;
    int32_t lowLimitCode = timeLimits::compressionLimit;
    int32_t highLimitCode = timeLimits::stretchLimit;
    int32_t limitMessage = 0;
    bool timeChanged = false;
    // The drag's moved offset in output frames, for the move region.
    int64_t timeDelta = 0;
    // The cursor of the drag, chosen at the press.
    uint32_t dragCursorId = 0;
    // Where the two markers stand (pixels), -1 when hidden.
    int32_t markerX[2] = {-1, -1};
    // Shared only because the library's view copy needs a copyable view.
    std::shared_ptr<TimeBreakpointList> timeList = std::make_shared<TimeBreakpointList>();
    TimeMap dragStartMap;
};

// Registers the creator of "Corvane_MainGraphView" (base
// "Corvane_GraphView") with the view factory; once per process.
void Corvane_MainGraphView_register();

#pragma once

#include <cstdint>

#include "graph/views/Corvane_GraphView.h"

class Corvane_MainGraphView;

// The strip of waveform below the pitch graph. Linked to the main view it
// shows the frames the main view shows, scrolled and zoomed with it;
// unlinked it shows the whole take across its width. A drag over it zooms
// the main view to the frames dragged over (the I-beam tool sets the
// I-beam range instead); a click in the whole-take mode brings the frame
// clicked to the middle of the main view.
//
// With time control on, the strip shows the take twice: the upper half as
// it plays, through the time map, the lower half as it was tracked, each
// around its own centre line; the time regions of the main view are shaded
// in both where they fall.
//
// Every operation: interface thread.
class Corvane_EnvelopeGraphView : public Corvane_GraphView {
public:
    explicit Corvane_EnvelopeGraphView(const VSTGUI::CRect& size);

    void setMainView(Corvane_MainGraphView* view);
    Corvane_MainGraphView* getMainView() const { return mainView; }
    // Linked (true) to the main view's scroll and zoom, or the whole take.
    void setLinkedToMain(bool state);
    bool isLinkedToMain() const { return linkedToMain; }
    // Width of the audio in pixels when not linked.
    int32_t getUnlinkedWidth() const { return unlinkedWidth; }

    //--- Corvane_GraphView
    bool isShowingBarsAndBeats() override;
    bool isPlaying() override;
    VSTGUI::CPoint getGraphSize() override;
    void getCursorAt(VSTGUI::CPoint where, VSTGUI::CButtonState buttons, uint32_t& kind, uint32_t& id) override;
    // The main view's.
    const TimeMap* activeTimeMap(double* scale = nullptr) const override;
    void drawContent(VSTGUI::CDrawContext* context, int32_t left, int32_t right) override;
    void drawOverlay(VSTGUI::CDrawContext* context) override;
    // Takes the main view's horizontal scroll and zoom (linked) or the
    // whole take's (unlinked), then draws the picture.
    void refresh(bool updateEnvelope, bool updateKeyboard, bool keepPicture) override;
    // The strip never scrolls on its own.
    int32_t scrollUp(int32_t) override { return 0; }
    int32_t scrollDown(int32_t) override { return 0; }
    int32_t scrollLeft(int32_t) override { return 0; }
    int32_t scrollRight(int32_t) override { return 0; }
    bool canScrollVertically() override { return false; }
    bool canScrollHorizontally() override { return false; }

    //--- CView
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS(Corvane_EnvelopeGraphView, Corvane_GraphView)

protected:
    // The horizontal mapping of the mode in force.
    void followMain();
    // The background between rows top..bottom with the main view's I-beam
    // range or time regions, placed through the time map or as tracked.
    void drawBackground(VSTGUI::CDrawContext* context, int32_t left, int32_t right, int32_t top, int32_t bottom,
                        bool throughMap);
    // The waveform of columns left..right around `baseline`, `scale` pixels
    // to full scale, kept within rows top..bottom; its frames through the
    // time map or as tracked.
    void drawLane(VSTGUI::CDrawContext* context, int32_t left, int32_t right, double baseline, double scale,
                  double top, double bottom, bool throughMap);

    Corvane_MainGraphView* mainView = nullptr;
    bool linkedToMain = true;
    int32_t unlinkedWidth = 0;
};

// Registers the creator of "Corvane_EnvelopeGraphView" (base
// "Corvane_GraphView") with the view factory; once per process.
void Corvane_EnvelopeGraphView_register();

#pragma once

class Corvane_KeyboardView;

// What the views of the Auto-mode page ask of the panel that holds them.
// The editor presenter implements it; tests give the views a small owner of
// their own. Every operation: interface thread.
class Corvane_PanelOwner {
public:
    virtual ~Corvane_PanelOwner() = default;

    // The open keyboard view, or null: the scales list mirrors a row's mark
    // on it.
    virtual Corvane_KeyboardView* panelKeyboard() = 0;
    // The marks of the scale object were edited on the panel: the engine's
    // note table follows them.
    virtual void scaleMarksEdited() = 0;
    // A key of the keyboard is held in momentary mode (MIDI note 19 to 96)
    // or let go (-1): while held, the voice is pulled to that note alone.
    virtual void keyboardNoteHeld(int note) = 0;
};

#pragma once
#include "records/trace.h"

/// The split display: two halves with settings and traces of their own, the first two records. The caller holds
/// Command_Main_Mutex.

/// Geometry of a half of the split display, or of the whole one, which a table of markers or peaks makes lower.
Screen_Geometry Geometry_Of(int half);

/// A Split_Mode. Two halves are swept in turn, or the active one alone; without a split the active half becomes the
/// only one. Clears the screen and draws all again.
int Set_Split(int mode);

/// Chooses the half that the setters work on; nothing without a split.
int Set_Active_Half(int half);

/// Geometry, rows and the mode bit follow what has been recalled or preset; where another display stands on the screen,
/// its area is cleared. The caller draws.
void Apply_Split();

/// The half whose settings the keys show.
int Half_Of_Keys();

/// True while the halves are swept in turn.
bool Swept_In_Turn();

/// The half whose sweep the core's samples belong to.
int Half_Of_Samples();

/// Sends the settings of the half that is not in hand; the core sweeps it from its first point on.
void Sweep_Other_Half();

/// While it lives, everything works on one half.
class Half_In_Hand {
public:
    explicit Half_In_Hand(int half);
    ~Half_In_Hand();
    Half_In_Hand(const Half_In_Hand&) = delete;
    Half_In_Hand& operator=(const Half_In_Hand&) = delete;

private:
    int screen_before_, keys_before_;
    Screen_Geometry geometry_before_;
};

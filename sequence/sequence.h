#pragma once
/// Sequences stopped and empty; loads stored sequence 0 to 4 where its file is there.
void Sequence_Init();
bool Recall_Sequence(int number);
/// The sequence screen again, when a calibration step of a sequence was interrupted.
void Redraw_Sequence_Screen();

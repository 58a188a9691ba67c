#pragma once

/// Frequency axis: centre, start, stop, span, step and offset of the active screen, in Hz.
/// source: 0 a knob step, 1 an arrow step (direction and count in AllKeyVar), 2 a typed or remote value.
/// Setters hold values to the limits and report nothing; they return 0. A typed value that is not finite, and what is
/// refused, changes nothing and sends nothing; all else ends with one transfer of the settings.

/// Both screens to full span, step automatic, offset 0.
void Freqs_ArrayInit();

int Set_Cent(int source, double value);
int Set_Start_Freq(int source, double value);
int Set_Stop_Freq(int source, double value);
/// The step; automatic stays automatic, so that the next change of the span sets it again.
int Set_Step_Freq(int source, double value);
int Set_Offset_Freq(int source, double value);
int Set_Span(int source, double value);
int Set_Full_Span();
int Set_Last_Span();

/// Manual or automatic step; automatic sets it to a tenth of the span at once.
int Set_Step_Mode(bool manual);

/// False in the modes whose span is their own: those of one frequency, and for start and stop the emission mask's, too.
bool Span_Can_Be_Set();
bool Edges_Can_Be_Set();

void change_center(int source, double value);
/// Returns -1 when the new span is refused; nothing changes then.
int change_span(int source, double value);

void Cal_Cent(int source, double value);
void Cal_Start_Freq(int source, double value);
void Cal_Stop_Freq(int source, double value);
void Cal_Step_Freq(int source, double value);
void Cal_Offset_Freq(int source, double value);
void Cal_Span(int source, double value);

/// The span that a step would give, without storing it.
double Cal_Span_temp(int source);

/// The entry of the 1-2-5 sequence above or below a span (Hz); the span itself for no steps.
double Span_Stepped(double span, int steps);

/// Centre, start and stop at one frequency.
void TheSameFreq(double frequency);

/// Index of the present span (step) in its 1-2-5 table: the exact entry, else the next lower one, or the next higher one
/// while a down step is pending; 0 where nothing matches.
int SpanValue2SpanIdx();
int FreqValue2FreqIdx();

/// Recomputes what follows from the frequency axis: automatic RBW, VBW and sweep time.
void Cal_Freqrelative_Var();

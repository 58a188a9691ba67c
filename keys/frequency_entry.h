#pragma once

/// The entry field's view of the frequency axis: a setting's name and its present value, for whoever has set it.

enum class Frequency_Entry { center, start, stop, step, offset, span };

/// Value in Hz as it is shown and typed: centre, start and stop with the offset.
double Shown_Frequency(Frequency_Entry entry);

void Show_Frequency_Entry(Frequency_Entry entry);

/// The same for the spans that belong to a function, in Hz.
void Show_Autoset_Span();
void Show_Channel_Spacing(double hertz);

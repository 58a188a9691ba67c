#pragma once

/// What a marker's place or level sets. The marker is numbered from 0; for a delta marker the partner's place or level
/// counts. -221 where it can't be: the marker is off, a span or a middle without delta marker, in zero span all but the
/// level and the centre.

/// The centre frequency; in zero span the marker goes to the middle of the sweep.
int Marker_To_Center(int marker);
int Marker_To_Start(int marker);
int Marker_To_Stop(int marker);
/// The centre-frequency step, which is manual then.
int Marker_To_Step(int marker);
int Marker_To_Reference(int marker);
/// The distance to the delta partner becomes the span.
int Marker_To_Span(int marker);
/// The pair's middle becomes the centre frequency.
int Delta_To_Center(int marker);
/// Start and stop from the pair.
int Span_To_Pair(int marker);

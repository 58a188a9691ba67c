#pragma once

/// Draws every icon: network, storage, reference and remote state in the top line, trace modes and detectors beside the
/// graticule.
void Display_all_icon();

/// The network and remote icons alone, when their state has changed.
void Draw_Network_Icon(bool link);
void Draw_Remote_Icon();

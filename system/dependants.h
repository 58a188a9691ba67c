#pragma once

/// What the preset resets in the other rooms of this floor; defined there.

/// Autoset: floor and span automatic; a search that runs is forgotten.
void Autoset_Init();

/// Spacings of channels and bandwidth of the occupied channel.
void Channel_Init();

#pragma once

/// The language of the screen: 0 English, 1 simplified Chinese, 2 Russian, 3 traditional Chinese, 4 Japanese.

/// Changes the language at once: reads its word list, draws page, blocks and bottom bar again, and keeps the choice
/// for the next start. Returns 0; -1, with nothing changed, for a number that is none, and where its word list is not
/// there, which an attention message says. Needs Command_Main_Mutex.
int Set_Language(int language);

/// Takes the kept choice over into Language; English stays where there is none. Start-up, before the words are read.
void Recall_Language();

#pragma once

/// Attention messages, by number, in the message area right of the entry field.

/// Shows an attention message; it stands until the next key. An unknown number shows nothing.
void ThirdAttentionwords(int number);

/// Takes the message away.
void Clear_Attention();

#pragma once
#include <cstdint>
#include <string>
#include <string_view>

/// The local socket "/tmp/web_store/talmiron.sock" by which the web front panel talks to the instrument.
///
/// Two-letter commands: "KY" (answered "ST", then one key code, answered "OK" or "NO"), "SE" (answered "ST", then a line
/// of a setting's name, a blank and its value in base units, answered "OK" or "NO"), "PW" (the power key, "OK" or "NO"),
/// "IN" (state) and "TR" (the active trace), both answered by a length of four bytes, low byte first, and a text.
/// Short answers end with a NUL. An unknown command is answered "NO" and ends the connection.
namespace remote {

/// What the instrument does for the socket.
struct Local_Commands {
    bool (*key)(std::int32_t code);      ///< false when the key is not taken
    bool (*set)(std::string_view name, double value);  ///< false for a name or value that is none
    bool (*power)();                     ///< presses the power key
    void (*state)(std::string& json);
    void (*trace)(std::string& csv);
};

/// Serves the socket until the stop. Returns at once, with a line on standard error, where it cannot be made.
void Serve_Local_Socket(const Local_Commands& commands);

}  // namespace remote

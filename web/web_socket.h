#pragma once
#include <functional>
#include <string>
#include <string_view>

struct mg_connection;

namespace web {

class Live;

/// Answers a text of a viewer; an empty answer is not sent.
using Answer_Text = std::function<std::string(std::string_view text)>;

/// Serves one viewer on a connection whose upgrade is done, in the connection's own thread, until either side ends it.
/// The connection is shut down on return.
void Serve_Viewer(mg_connection* connection, Live& live, const Answer_Text& answer);

}  // namespace web

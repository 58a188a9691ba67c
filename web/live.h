#pragma once
#include "web/frame_source.h"
#include "web/instrument_link.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// The live screen: one thread looks at the screen while somebody watches, one asks the instrument how it is, and each
/// viewer has a thread of its own that sends what changed since its last message. A slow viewer gets fewer, newer
/// pictures and holds up nobody.
namespace web {

class Viewer;

class Live {
public:
    enum class Kind { text, binary, close };
    /// Sends one message and blocks until it is on its way; false when the viewer is lost.
    using Send = std::function<bool(Kind kind, std::span<const std::uint8_t> message)>;

    static constexpr std::size_t most_viewers = 16;

    Live(Frame_Source& source, Instrument_Link& link);
    /// Ends the threads. Every viewer must have left.
    ~Live();
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;

    bool Has_Room() const;
    /// Has the state looked at now instead of at its next turn.
    void Ask_State();
    /// Takes a viewer in. The screen follows at once; send is called from the viewer's thread only.
    std::unique_ptr<Viewer> Join(Send send);
    /// Tells every viewer that the instrument goes and waits a moment for those who are slow to hear it; nothing is
    /// sent afterwards.
    void Close();

private:
    friend class Viewer;
    struct Picture {
        int holders = 0;
        std::vector<std::uint8_t> screen;
    };

    Picture* Free_Picture();
    void Watch_Screen();
    void Watch_State();

    Frame_Source& source_;
    Instrument_Link& link_;

    mutable std::mutex mutex_;  // guards everything below
    std::condition_variable changed_;
    std::vector<std::unique_ptr<Picture>> pictures_;
    Picture* latest_ = nullptr;
    std::uint64_t picture_number_ = 0;
    std::string state_;
    std::uint64_t state_number_ = 0;
    bool state_asked_ = false;
    std::size_t viewers_ = 0;
    std::size_t served_ = 0;  // viewers whose thread still sends
    bool closing_ = false;
    bool stopping_ = false;

    std::thread screen_thread_;
    std::thread state_thread_;
};

/// A watcher of the live screen.
class Viewer {
public:
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    /// Queues a text; when too many wait, the oldest is dropped.
    void Tell(std::string text);

private:
    friend class Live;
    Viewer(Live& live, Live::Send send);
    void Serve();
    bool Send_Text(std::string_view text);

    Live& live_;
    Live::Send send_;
    std::vector<std::string> texts_;  // under live_.mutex_
    bool leaving_ = false;            // under live_.mutex_
    std::thread thread_;
};

}  // namespace web

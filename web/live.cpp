#include "web/live.h"

#include "web/delta.h"
#include "web/state.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace web {
namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

constexpr auto picture_interval = 25ms;
constexpr auto state_interval = 500ms;
constexpr auto goodbye_limit = 500ms;
constexpr std::size_t most_texts = 16;
constexpr std::array<std::uint8_t, 2> going_away{1001 >> 8, 1001 & 0xff};  // status of the closing frame

}  // namespace

Live::Live(Frame_Source& source, Instrument_Link& link) : source_(source), link_(link) {
    screen_thread_ = std::thread([this] { Watch_Screen(); });
    state_thread_ = std::thread([this] { Watch_State(); });
}

Live::~Live() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    screen_thread_.join();
    state_thread_.join();
}

bool Live::Has_Room() const {
    const std::lock_guard lock(mutex_);
    return !closing_ && viewers_ < most_viewers;
}

void Live::Ask_State() {
    {
        const std::lock_guard lock(mutex_);
        state_asked_ = true;
    }
    changed_.notify_all();
}

std::unique_ptr<Viewer> Live::Join(Send send) { return std::unique_ptr<Viewer>(new Viewer(*this, std::move(send))); }

void Live::Close() {
    std::unique_lock lock(mutex_);
    closing_ = true;
    changed_.notify_all();
    changed_.wait_for(lock, goodbye_limit, [this] { return served_ == 0; });
}

/// Under the lock. There are never more pictures than viewers hold, the latest and the one being made.
Live::Picture* Live::Free_Picture() {
    const auto free = std::ranges::find_if(
        pictures_, [this](const auto& picture) { return picture.get() != latest_ && picture->holders == 0; });
    if (free != pictures_.end()) return free->get();
    pictures_.push_back(std::make_unique<Picture>());
    pictures_.back()->screen.resize(screen_bytes);
    return pictures_.back().get();
}

void Live::Watch_Screen() {
    auto next = Steady::now();
    std::uint64_t seen = 0;
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        changed_.wait(lock, [this] { return stopping_ || viewers_ > 0; });
        auto* picture = Free_Picture();
        const auto* before = latest_;
        lock.unlock();
        // The latest picture is replaced by this thread alone, and nobody writes to it.
        const bool differs =
            source_.Capture_News(seen, picture->screen) && (!before || picture->screen != before->screen);
        lock.lock();
        if (differs) {
            latest_ = picture;
            ++picture_number_;
            changed_.notify_all();
        }
        next = std::max(next + picture_interval, Steady::now());
        changed_.wait_until(lock, next, [this] { return stopping_; });
    }
}

void Live::Watch_State() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        changed_.wait(lock, [this] { return stopping_ || viewers_ > 0; });
        state_asked_ = false;
        lock.unlock();
        auto state = State_Message(link_.Info());
        lock.lock();
        if (state != state_) {
            state_ = std::move(state);
            ++state_number_;
            changed_.notify_all();
        }
        changed_.wait_for(lock, state_interval, [this] { return stopping_ || state_asked_; });
    }
}

Viewer::Viewer(Live& live, Live::Send send) : live_(live), send_(std::move(send)) {
    {
        const std::lock_guard lock(live_.mutex_);
        ++live_.viewers_;
        ++live_.served_;
    }
    live_.changed_.notify_all();
    thread_ = std::thread([this] { Serve(); });
}

Viewer::~Viewer() {
    {
        const std::lock_guard lock(live_.mutex_);
        leaving_ = true;
        --live_.viewers_;
    }
    live_.changed_.notify_all();
    thread_.join();
}

void Viewer::Tell(std::string text) {
    {
        const std::lock_guard lock(live_.mutex_);
        if (texts_.size() == most_texts) texts_.erase(texts_.begin());
        texts_.push_back(std::move(text));
    }
    live_.changed_.notify_all();
}

bool Viewer::Send_Text(std::string_view text) {
    return send_(Live::Kind::text, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

void Viewer::Serve() {
    Delta_Encoder encoder;
    Live::Picture* shown = nullptr;
    std::uint64_t shown_number = 0, told_state = 0;
    std::vector<std::string> texts;
    bool well = true;

    std::unique_lock lock(live_.mutex_);
    // A viewer of a closed screen, or one that cannot be reached, only waits to be taken away.
    while (!leaving_ && well && !live_.closing_) {
        live_.changed_.wait(lock, [&] {
            return leaving_ || live_.closing_ || !texts_.empty() || shown_number != live_.picture_number_ ||
                   told_state != live_.state_number_;
        });
        if (leaving_ || live_.closing_) break;
        texts.clear();
        texts.swap(texts_);
        if (told_state != live_.state_number_) texts.push_back(live_.state_);
        told_state = live_.state_number_;
        auto* next = shown_number != live_.picture_number_ ? live_.latest_ : nullptr;
        shown_number = live_.picture_number_;
        if (next) ++next->holders;
        lock.unlock();

        for (const auto& text : texts) well = well && Send_Text(text);
        if (next && well) {
            const auto message = encoder.Encode(
                shown ? std::span<const std::uint8_t>(shown->screen) : std::span<const std::uint8_t>(), next->screen);
            if (!message.empty()) well = send_(Live::Kind::binary, message);
        }

        lock.lock();
        if (!next) continue;
        if (shown) --shown->holders;
        shown = next;
    }
    if (shown) --shown->holders;
    const bool say_goodbye = live_.closing_ && well && !leaving_;
    lock.unlock();
    if (say_goodbye && Send_Text(R"({"closing":true})")) send_(Live::Kind::close, going_away);
    lock.lock();
    --live_.served_;
    live_.changed_.notify_all();
}

}  // namespace web

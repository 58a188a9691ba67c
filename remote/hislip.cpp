#include "remote/hislip.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include <sys/socket.h>

#include "platform/stop.h"
#include "remote/tcp_listener.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr int clock_look_ms = 100;

int hislip_listener = -1;
std::mutex address_mutex;
std::string hislip_address;  // under address_mutex

void Close_Socket(int socket) {
    if (socket < 0) return;
    shutdown(socket, SHUT_RDWR);  // wakes the thread that polls it
    close(socket);
}

/// Whole milliseconds until a time, at most those of a look at the clock.
int Milliseconds_Until(platform::Duration time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - platform::Now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 1, clock_look_ms));
}

}  // namespace

bool Open_Hislip_Listener(const std::string& address, int port) {
    const int listener = Listen_On(address, port);
    if (listener < 0) return false;
    hislip_listener = listener;
    const std::lock_guard guard(address_mutex);
    hislip_address = Bound_Address(listener);
    return true;
}

void Close_Hislip_Listener() {
    if (hislip_listener >= 0) close(hislip_listener);
    hislip_listener = -1;
    const std::lock_guard guard(address_mutex);
    hislip_address.clear();
}

std::string Hislip_Address() {
    const std::lock_guard guard(address_mutex);
    return hislip_address;
}

void Wake_Event::Post() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(descriptor_, &one, sizeof one);
}

void Wake_Event::Drain() const {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto drained = read(descriptor_, &count, sizeof count);
}

Hislip_Server::Hislip_Server() {
    if (hislip_listener < 0) return;
    listener_.Listen_On(hislip_listener, "hislip accept error");
    Set_Sink(interface_hislip, this);
    const char* failure = "hislip  data thread fail";
    try {
        threads_[0] = std::thread([this] { hislip_channel(hislip_synchronous); });
        failure = "hislip  detached thread fail";
        threads_[1] = std::thread([this] { hislip_channel(hislip_asynchronous); });
    } catch (const std::system_error&) {
        std::fprintf(stderr, "%s\n", failure);
    }
}

Hislip_Server::~Hislip_Server() {
    stopping_.store(true);
    hislip_unlock_cond.Post();
    asynchronous_wake_.Post();
    for (std::thread& thread : threads_) {
        if (thread.joinable()) thread.join();
    }
    if (hislip_listener >= 0) Set_Sink(interface_hislip, nullptr);
    for (std::size_t index = 0; index < slots; ++index) {
        if (Hislip_Info[index]) Close_Session(index);
    }
    for (const Farewell& farewell : farewells_) Close_Socket(farewell.socket);
}

void Hislip_Server::hislip_channel(Hislip_State channels) {
    if (channels == hislip_asynchronous) {
        while (Serve_Asynchronous()) {}
        return;
    }
    Set_Waiting_Service(this);
    while (Serve_Synchronous(Messages::executed, -1)) {}
    Set_Waiting_Service(nullptr);
}

// Synchronous channels

bool Hislip_Server::Serve_While_Waiting() { return Serve_Synchronous(Messages::held, waiting_ms); }

bool Hislip_Server::May_Read(const Hislip_Slot& slot, std::size_t index, Messages messages) const {
    if (slot.clearing) return true;
    if (slot.in_hand || messages == Messages::held) return false;
    return slot.ending || slot.peer == no_slot || locks_.Allows(index);
}

/// 0 where nothing is to be looked at.
int Hislip_Server::Events_Wanted(const Hislip_Slot& slot, std::size_t index, Messages messages) const {
    if (!slot.pending.Empty()) return POLLOUT;
    if (May_Read(slot, index, messages)) return POLLIN;
    return slot.in_hand || messages == Messages::executed ? POLLRDHUP : 0;
}

bool Hislip_Server::Serve_Synchronous(Messages messages, int time_ms) {
    Poll_Set waits;
    const std::size_t stop = waits.Add(platform::Stop_Fd(), POLLIN), wake = waits.Add(hislip_unlock_cond.Descriptor(), POLLIN);
    Polled_Slots polled;
    {
        const Guard guard(hislip_lock_mutex);
        for (std::size_t index = 0; index < slots; ++index) {
            const auto& slot = Hislip_Info[index];
            if (!slot || slot->state != hislip_synchronous || slot->socket < 0) continue;
            const int events = Events_Wanted(*slot, index, messages);
            if (events == 0) continue;
            polled[index] = {waits.Add(slot->socket, events), slot->serial};
            if (events == POLLIN && slot->begin != slot->end) time_ms = 0;
            if (events == POLLOUT && time_ms < 0) time_ms = clock_look_ms;
        }
    }
    if (!waits.Wait(time_ms) || waits.Events(stop) || stopping_.load()) return false;
    if (waits.Events(wake)) hislip_unlock_cond.Drain();
    Guard guard(hislip_lock_mutex);
    for (std::size_t index = 0; index < slots; ++index) {
        const auto& slot = Hislip_Info[index];
        if (polled[index].serial == 0 || !slot || slot->serial != polled[index].serial || slot->socket < 0) continue;
        Serve_Synchronous(guard, index, waits.Events(polled[index].place), messages);
    }
    return true;
}

void Hislip_Server::Serve_Synchronous(Guard& guard, std::size_t index, int events, Messages messages) {
    Hislip_Slot& slot = *Hislip_Info[index];
    if (!Send_Pending(index, events)) return;
    if (!May_Read(slot, index, messages)) {
        if (events & (POLLRDHUP | POLLHUP | POLLERR)) Close_Session(index);
        return;
    }
    if (slot.begin == slot.end) {
        if (!events) return;
        const Received received = Receive(slot);
        if (received == Received::end) Close_Session(index);
        if (received != Received::bytes) return;
    }
    Take_Message(guard, index);
}

// Asynchronous channels and those that have said nothing yet

bool Hislip_Server::Serve_Asynchronous() {
    Poll_Set waits;
    const std::size_t stop = waits.Add(platform::Stop_Fd(), POLLIN), wake = waits.Add(asynchronous_wake_.Descriptor(), POLLIN);
    Polled_Slots polled;
    int time_ms = -1;
    {
        const Guard guard(hislip_lock_mutex);
        if (!Room_Soon()) listener_.Add_Wait(waits);
        for (std::size_t index = 0; index < slots; ++index) {
            const auto& slot = Hislip_Info[index];
            if (!slot || slot->state == hislip_synchronous || slot->socket < 0) continue;
            polled[index] = {waits.Add(slot->socket, slot->pending.Empty() ? POLLIN : POLLOUT), slot->serial};
        }
        for (Farewell& farewell : farewells_) farewell.place = waits.Add(farewell.socket, POLLIN);
        time_ms = Asynchronous_Wait();
    }
    if (!waits.Wait(time_ms) || waits.Events(stop) || stopping_.load()) return false;
    if (waits.Events(wake)) asynchronous_wake_.Drain();
    Guard guard(hislip_lock_mutex);
    for (std::size_t index = 0; index < slots; ++index) {
        const auto& slot = Hislip_Info[index];
        if (polled[index].serial == 0 || !slot || slot->serial != polled[index].serial || slot->socket < 0) continue;
        Serve_Asynchronous(guard, index, waits.Events(polled[index].place));
    }
    Serve_Farewells(waits);
    Look_At_Time();
    if (!Room_Soon()) Accept(waits);
    return true;
}

void Hislip_Server::Serve_Asynchronous(Guard& guard, std::size_t index, int events) {
    const std::uint64_t serial = Hislip_Info[index]->serial;
    if (!Send_Pending(index, events) || !events) return;
    const Received received = Receive(*Hislip_Info[index]);
    if (received == Received::end) return End_Session(index);
    if (received == Received::nothing) return;
    const auto ours = [&] {
        const auto& slot = Hislip_Info[index];
        return slot && slot->serial == serial && slot->state != hislip_synchronous && slot->begin != slot->end;
    };
    while (ours() && Take_Message(guard, index)) {}
}

/// All slots are taken, but some by clients that have left.
bool Hislip_Server::Room_Soon() const {
    const auto ending = [](const auto& slot) { return slot && (slot->ending || slot->gone); };
    return std::find(Hislip_Info.begin(), Hislip_Info.end(), std::nullopt) == Hislip_Info.end() &&
           std::any_of(Hislip_Info.begin(), Hislip_Info.end(), ending);
}

/// How long nothing needs to be looked at but descriptors; -1: for ever.
int Hislip_Server::Asynchronous_Wait() {
    int time = Room_Soon() ? waiting_ms : listener_.Resting() ? clock_look_ms : -1;
    const auto until = [&](platform::Duration end) {
        const int left = Milliseconds_Until(end);
        time = time < 0 ? left : std::min(time, left);
    };
    for (const auto& slot : Hislip_Info) {
        if (!slot) continue;
        if (slot->peer == no_slot && !slot->ending && !slot->gone) until(slot->since + half_open_limit);
        if (slot->ending) until(slot->since + farewell_limit);
        if (slot->clearing) until(slot->clearing_since + clear_limit);
        if (slot->lock_wait.waiting) until(slot->lock_wait.until);
        for (const Hislip_Deferred* deferred : {&slot->release, &slot->remote_control}) {
            if (deferred->waiting && !slot->in_hand && deferred->until > platform::Now()) until(deferred->until);
        }
        if (slot->state != hislip_synchronous && !slot->pending.Empty()) until(platform::Now() + Outbox::patience);
    }
    for (const Farewell& farewell : farewells_) {
        if (farewell.socket >= 0) until(farewell.until);
    }
    return time;
}

void Hislip_Server::Look_At_Time() {
    const platform::Duration now = platform::Now();
    for (std::size_t index = 0; index < slots; ++index) {
        auto& slot = Hislip_Info[index];
        if (!slot) continue;
        if (slot->lock_wait.waiting && now >= slot->lock_wait.until) {
            slot->lock_wait.waiting = false;
            Respond_Lock(index, Lock_Outcome::busy);
        }
        Do_Deferred(index);
        const auto limit = slot->ending ? farewell_limit : half_open_limit;
        if (slot->peer == no_slot && !slot->gone && !slot->in_hand && now - slot->since >= limit) {
            Close_Session(index);
        } else if (slot->clearing && now - slot->clearing_since >= clear_limit) {
            Fatal(index, fatal_unidentified, "the device clear was not completed");
        }
    }
}

void Hislip_Server::Accept(const Poll_Set& waits) {
    const int socket = listener_.Accept(waits);
    if (socket < 0) return;
    Prepare_Client(socket);
    const auto free = std::find(Hislip_Info.begin(), Hislip_Info.end(), std::nullopt);
    if (free != Hislip_Info.end()) {
        Hislip_Slot& slot = free->emplace();
        slot.socket = socket;
        slot.serial = ++serials_;
        slot.since = platform::Now();
        return;
    }
    if (!crowd_told_) std::fprintf(stderr, "a HiSLIP client is refused: there are %zu channels already\n", slots);
    crowd_told_ = true;
    constexpr std::string_view text = "too many clients";
    const auto header = Hislip_Bytes({hislip_fatal_error, fatal_clients, 0, text.size()});
    std::string bytes(header.data(), header.size());
    bytes += text;
    Write_Socket(socket, bytes);
    Say_Farewell(socket);
}

// Channels of either kind

bool Hislip_Server::Send_Pending(std::size_t index, int events) {
    Hislip_Slot& slot = *Hislip_Info[index];
    if (slot.pending.Empty()) return true;
    if (slot.pending.Stalled()) Tell(slot, "a HiSLIP client that doesn't read its answers is dropped");
    const bool broken = (events & (POLLERR | POLLHUP)) || slot.pending.Stalled() ||
                        (events && !slot.pending.Send(slot.socket));
    if (broken) Close_Session(index);
    return false;
}

Hislip_Server::Received Hislip_Server::Receive(Hislip_Slot& slot) {
    const ssize_t got = recv(slot.socket, slot.input.data(), slot.input.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return Received::nothing;
    if (got < 0 && errno != ECONNRESET && errno != ETIMEDOUT && errno != EPIPE) Tell(slot, "hislip recv error");
    if (got <= 0) return Received::end;
    slot.begin = 0;
    slot.end = static_cast<std::size_t>(got);
    return Received::bytes;
}

bool Hislip_Server::Take_Message(Guard& guard, std::size_t index) {
    Hislip_Slot& slot = *Hislip_Info[index];
    slot.begin += slot.reader.Take({slot.input.data() + slot.begin, slot.end - slot.begin});
    if (slot.reader.Has_Header() && slot.reader.Foreign()) {
        Tell(slot, "hislip data error");
        // Where not even the length makes sense, no next message can be found.
        if (slot.reader.Too_Large()) {
            Fatal(index, fatal_header, "no HiSLIP header");
            return false;
        }
    }
    if (!slot.reader.Complete()) return false;
    Hislip_Work work = slot.reader.Work();
    const bool foreign = slot.reader.Foreign();
    slot.reader.Next();
    work.slot = static_cast<std::int32_t>(index);
    if (!foreign) hilsip_thread_func(guard, work);
    return true;
}

// Endings

void Hislip_Server::Say_Farewell(int socket) {
    if (socket < 0) return;
    shutdown(socket, SHUT_WR);
    Farewell& farewell = farewells_[next_farewell_++ % farewells_.size()];
    Close_Socket(farewell.socket);
    farewell = {socket, Poll_Set::nowhere, platform::Now() + farewell_limit};
    asynchronous_wake_.Post();
}

/// Closed at once, what the client has sent meanwhile would throw away the words that it has not read yet.
void Hislip_Server::Serve_Farewells(const Poll_Set& waits) {
    std::array<char, 4096> bytes;
    for (Farewell& farewell : farewells_) {
        if (farewell.socket < 0) continue;
        const bool ended = waits.Events(farewell.place) && recv(farewell.socket, bytes.data(), bytes.size(), MSG_DONTWAIT) <= 0;
        if (!ended && platform::Now() < farewell.until) continue;
        Close_Socket(farewell.socket);
        farewell = {};
        listener_.Wake();
    }
}

void Hislip_Server::Free_Slot(std::size_t index) {
    if (Hislip_Info[index]->in_hand) {
        Hislip_Info[index]->gone = true;
        Hislip_Info[index]->pending.Clear();
    } else {
        Hislip_Info[index].reset();
    }
    crowd_told_ = false;
    listener_.Wake();
}

void Hislip_Server::Hislip_Close_Fun(std::size_t index, bool farewell) {
    const std::size_t session = Session_Index(index), other = Hislip_Info[session]->peer;
    if (Hislip_Info[session]->state == hislip_synchronous) {
        Release_Waits(Client(session));
        Hislip_Info[session]->lock_wait.waiting = false;
        Hislip_Info[session]->release.waiting = Hislip_Info[session]->remote_control.waiting = false;
        Hislip_Info[session]->clearing = false;
        Hislip_Info[session]->lockout.Set(false);
    }
    for (const std::size_t channel : {session, other}) {
        if (channel == no_slot) continue;
        const int socket = std::exchange(Hislip_Info[channel]->socket, -1);
        Hislip_Info[channel]->peer = no_slot;
        farewell ? Say_Farewell(socket) : Close_Socket(socket);
        Free_Slot(channel);
    }
    if (locks_.Release_All(session)) Locks_Changed();
}

/// A client has closed its asynchronous channel, or one that said nothing.
void Hislip_Server::End_Session(std::size_t index) {
    const std::size_t session = Session_Index(index);
    if (session == index) return Close_Session(index);
    Hislip_Slot& slot = *Hislip_Info[session];
    Close_Socket(std::exchange(Hislip_Info[index]->socket, -1));
    Free_Slot(index);
    slot.peer = no_slot;
    slot.ending = true;
    slot.since = platform::Now();
    slot.clearing = slot.lock_wait.waiting = slot.release.waiting = slot.remote_control.waiting = false;
    slot.lockout.Set(false);
    Release_Waits(Client(session));
    if (locks_.Release_All(session)) Locks_Changed();
    if (!locks_.Allows(session)) return Close_Session(session);
    hislip_unlock_cond.Post();
}

}  // namespace remote

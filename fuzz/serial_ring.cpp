#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>

#include "remote/rs232_ring.h"

// The serial port's ring against a plain queue of bytes under the same rules.

namespace {

void Require(bool truth) {
    if (!truth) std::abort();
}

class Model {
public:
    void Insert(char byte) {
        if (bytes_.size() == remote::RS232_ring_size) {
            while (lines_ > 1) Remove();
            if (bytes_.size() == remote::RS232_ring_size) Pop();
        }
        bytes_.push_back(byte);
        lines_ += byte == '\n';
    }
    std::string Remove() {
        std::string line;
        while (!bytes_.empty() && (line.empty() || line.back() != '\n')) {
            line.push_back(Pop());
        }
        return line;
    }
    int Lines() const { return lines_; }
    std::size_t Size() const { return bytes_.size(); }

private:
    char Pop() {
        const char byte = bytes_.front();
        bytes_.pop_front();
        lines_ -= byte == '\n';
        return byte;
    }
    std::deque<char> bytes_;
    int lines_ = 0;
};

void Check_Removal(Model& model) {
    std::array<char, remote::RS232_ring_size> line;
    const std::string got(line.data(), remote::RS232read_queue_remove(line));
    Require(got == model.Remove());
    if (!got.empty() && got.back() == '\n') --remote::RS232_Flag;
}

}  // namespace

/// Bytes from 0xf0 on take a line, those below count how many more times the next byte goes in, others go in.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    [[maybe_unused]] static std::FILE* const quiet = std::freopen("/dev/null", "w", stdout);
    remote::RS232_INBuf = {};
    remote::RS232_Flag = 0;
    Model model;
    std::size_t repeat = 1;
    constexpr std::size_t enough = 512;
    for (std::size_t i = 0; i < std::min(size, enough); ++i) {
        if (data[i] >= 0xf0) {
            Check_Removal(model);
        } else if (data[i] >= 0x80) {
            repeat = static_cast<std::size_t>(data[i] - 0x7f) * 9;
            continue;
        } else {
            for (; repeat > 0; --repeat) {
                remote::RS232read_queue_insert(static_cast<char>(data[i]));
                model.Insert(static_cast<char>(data[i]));
            }
        }
        repeat = 1;
        Require(remote::RS232_Flag == model.Lines());
        Require(remote::RS232_INBuf.full == (model.Size() == remote::RS232_ring_size));
    }
    while (model.Size() > 0) Check_Removal(model);
    Require(remote::RS232_Flag == 0);
    for (const char byte : remote::RS232_INBuf.bytes) Require(byte == 0);
    return 0;
}

#pragma once
#include <array>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <span>

/// Menu pages: the seven soft keys beside the screen.

constexpr int soft_keys = 7;
constexpr std::uint8_t no_highlight = 0xff;

/// mode: 0 knob, 1 arrows (steps in AllKeyVar), 2 a typed value in base units.
using Value_Handler = int (*)(int mode, double value);

constexpr std::size_t most_choices = 5;

/// Numbers of choice words, -1 none; the words come first.
struct Choices : std::array<int, most_choices> {
    constexpr Choices(std::initializer_list<int> words = {}) : array{-1, -1, -1, -1, -1} {
        std::size_t count = 0;
        for (const int word : words) {
            if (count < most_choices) (*this)[count++] = word;
        }
    }
};

/// What a key shows below its label: a value, or choices of which one is chosen.
struct Key_Face {
    std::array<char, 24> value{};
    Choices choice{};
    int chosen = 0;  ///< index into choice; any other marks none
    bool in_force = false;  ///< the one of several settings that is chosen, where the highlight may stand elsewhere
    bool greyed = false;  ///< drawn dim; set by the drawing for a key of no effect
};

struct Menu_Page {
    const std::uint8_t* title = nullptr;                       ///< mask of the heading
    std::array<const std::uint8_t*, soft_keys> label{};        ///< masks; null: a key without function
    std::array<std::uint32_t, soft_keys> disabled{};           ///< non-zero: greyed and inert
    Menu_Page* parent = nullptr;                               ///< null on a top page; then a digit opens the unit page
    std::uint8_t family = 0;                                   ///< index into fSwKeyPtr
    std::uint8_t highlight = no_highlight;                     ///< soft key 0 to 6
    void (*layer)(int key) = nullptr;                          ///< what a pressed soft key does
    std::array<Value_Handler, soft_keys> value_handler{};      ///< arrows, knob and typed values of the highlighted key
    void (*face)(int key, Key_Face& face) = nullptr;           ///< fills in what a key shows now
    std::array<Menu_Page*, soft_keys> opens{};                 ///< the page that a key shows, null for none
    bool back = false;                                         ///< key 7 returns to the page it was opened from
    bool (*greyed)(int key) = nullptr;                         ///< whether a key has no effect as things stand
    int (*chosen)() = nullptr;                                 ///< of a page of choices: the key in force, -1 none
};

/// True for a key that is drawn dim and ignored.
inline bool Greyed_Out(const Menu_Page& page, int key) {
    return page.disabled[static_cast<std::size_t>(key)] != 0 || (page.greyed && page.greyed(key));
}

inline std::atomic<Menu_Page*> keylink{nullptr};  ///< the page shown now

/// The page shown now. There is one from start-up on.
inline Menu_Page& Current_Page() { return *keylink.load(std::memory_order_acquire); }

#pragma once
#include <gtest/gtest.h>

#include <initializer_list>
#include <source_location>

/// A value, what it should be, and why; checked where it stands, so that what comes first is also done first.
struct Expected_Row {
    template <class Got, class Wanted>
    Expected_Row(const Got& got, const Wanted& wanted, const char* why = "",
                 std::source_location where = std::source_location::current()) {
        const testing::ScopedTrace trace(where.file_name(), static_cast<int>(where.line()), why);
        EXPECT_EQ(got, wanted);
    }
};
inline void Expect(std::initializer_list<Expected_Row>) {}

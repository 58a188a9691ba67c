#pragma once
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "scpi/context.h"

/// Header matching. Patterns are nodes between colons: in brackets a node may be left out, with a final # it takes a
/// number, with a final ? the pattern is a query. Capital letters of a node are its short form.

/// True when the text is the node's long or short form, in any case, for a node with # also followed by digits, whose value
/// goes to the number (1 without digits).
bool matchPattern(std::string_view node, std::string_view text, std::int32_t* number = nullptr);

/// True when the header matches the whole pattern. numbers receives the values of the pattern's # nodes in their order, 1
/// for each that is not there.
bool matchCommand(const char* pattern, std::string_view header, std::span<std::int32_t> numbers = {});

/// The first row that matches, or null. By the context's index where it has one.
const ScpiCommand* findCommandHeader(const ScpiContext& context, std::string_view header);

/// Compares row after row.
const ScpiCommand* Find_Linear(const ScpiCommand* commands, std::string_view header);

/// Finds rows by the sequence of their keywords, so that only the few rows with the same sequence are compared. It finds the
/// row that Find_Linear finds.
class Command_Index {
public:
    explicit Command_Index(const ScpiCommand* commands);
    const ScpiCommand* Find(std::string_view header) const;

private:
    std::uint32_t Keyword(std::string_view text) const;
    std::uint64_t Sequence(std::string_view header) const;
    void Add_Row(std::size_t row, std::span<const std::string_view> nodes, std::string& whole, std::string& brief);

    const ScpiCommand* commands_;
    std::vector<std::pair<std::uint64_t, std::uint32_t>> keywords_;  ///< hash of a form, and its node's number; sorted
    std::vector<std::pair<std::uint64_t, std::uint16_t>> rows_;      ///< sequence and row; sorted
};

/// Nodes of a pattern in their order, without brackets and question mark.
std::vector<std::string_view> Pattern_Nodes(std::string_view pattern);

/// The short form of a node: up to its first lower-case letter, without #.
std::string_view Short_Form(std::string_view node);

#include <algorithm>
#include <fstream>
#include <set>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "scpi/commands/order.h"
#include "scpi/matcher.h"

namespace {

/// Every row of the instrument's table, whether it is built yet or not.
const ScpiCommand* All_Rows() {
    static const auto rows = [] {
        std::vector<ScpiCommand> all;
        for (const char* pattern : command_order) all.push_back({pattern, nullptr});
        all.push_back({nullptr, nullptr});
        return all;
    }();
    return rows.data();
}

const Command_Index& Index() {
    static const Command_Index index(All_Rows());
    return index;
}

std::string Form(std::string_view node, bool brief) {
    const std::string_view short_form = Short_Form(node);
    return std::string(brief && !short_form.empty() ? short_form : node.substr(0, node.find('#')));
}

/// All headers that a pattern accepts: nodes left out or not, in long and short form.
std::vector<std::string> Spellings(const char* pattern) {
    const auto nodes = Pattern_Nodes(pattern);
    std::vector<std::string> accepted;
    const auto spell = [&](const auto& self, std::size_t node, const std::string& header) -> void {
        if (node == nodes.size()) {
            for (const char* end : {"", "?"}) {
                if (!header.empty() && matchCommand(pattern, header + end)) accepted.push_back(header + end);
            }
            return;
        }
        const std::string front = header.empty() ? "" : header + ":";
        self(self, node + 1, header);
        const std::string whole = Form(nodes[node], false), brief = Form(nodes[node], true);
        self(self, node + 1, front + whole);
        if (brief != whole) self(self, node + 1, front + brief);
    };
    spell(spell, 0, "");
    return accepted;
}

bool Matches(const char* pattern, const char* header) { return matchCommand(pattern, header); }

TEST(Matcher, HeadersMatchPatternsByTheirRules) {
    const struct {
        const char *pattern, *header;
        bool matches;
    } cases[] = {
        {"*ESE?", "*ese?", true},
        {"*ESE", "*ESE?", false},
        {"*ESE", ":*ESE", false},
        {"[:SENSe]:FREQuency:CENTer", "freq:cent", true},
        {"[:SENSe]:FREQuency:CENTer", ":SENSE:FREQUENCY:CENTER", true},
        {"[:SENSe]:FREQuency:CENTer", "sens:freq:cente", false},
        {"[:SENSe]:FREQuency:CENTer", "freq:cent?", false},
        {"[:SENSe]:FREQuency:CENTer", "freq", false},
        {":TRACe[:DATA]?", ":TRAC?", true},
        {":TRACe[:DATA]?", "TRAC:DATA?", true},
        {":TRACe[:DATA]?", "TRAC", false},
        {":TRACe[:DATA]?", "TRAC:DAT?", false},
        {":STATus:OPERation[:EVENt]?", "STAT:OPER?", true},
        {":STATus:OPERation:CONDition?", "STAT:OPER?", false},  // only optional nodes may be left out
        {":INITiate[:IMMediate]", "INIT", true},
        {":INITiate[:IMMediate]", "INIT?", false},
        {":SOURce:POWer[:LEVel][:IMMediate][:AMPLitude]:STEP:AUTO?", "SOUR:POW:STEP:AUTO?", true},
        {":SOURce:POWer[:LEVel][:IMMediate][:AMPLitude]:STEP:AUTO?", "SOUR:POW:IMM:STEP:AUTO?", true},
        {":SOURce:POWer[:LEVel][:IMMediate][:AMPLitude]:STEP:AUTO?", "SOUR:POW:AMPL:LEV:STEP:AUTO?", false},
        {":SOURce:POWer[:LEVel][:IMMediate][:AMPLitude]?", "SOUR:POW:LEV:AMPL?", true},
        {":SOURce:POWer[:LEVel][:IMMediate][:AMPLitude]", "SOUR", true},  // a header that ends early before a last ]
        {"[:SENSe]:SEMask:OFFSet#:BANDwidth:RESolution]:AUTO", "SEM:OFFS3:BAND:AUTO", true},
        {"[:SENSe]:SEMask:OFFSet#:BANDwidth:RESolution]:AUTO", "SEM:OFFS:BAND:RES:AUTO", true},
        {":CALCulate:MARKer#:Y?", "CALC:MARK:Y?", true}, {":CALCulate:MARKer#:Y?", "CALC:MARKER12:Y?", true},
        {":CALCulate:MARKer#:Y?", "CALC:MARK1x:Y?", false}, {":CALCulate:MARKer#:Y?", "CALC:MARKE1:Y?", false},
        {":CALCulate:EMITest:Band#:Limit", "CALC:EMIT:B2:L", true},
        {":CALibration:zrsystkva:LOGO", "CAL:ZRSYSTKVA:LOGO", true},
        {":CALibration:zrsystkva:LOGO", "CAL:Z:LOGO", false}, {":CALibration:zrsystkva:LOGO", "CAL:LOGO", false}
    };
    for (const auto& [pattern, header, matches] : cases) EXPECT_EQ(Matches(pattern, header), matches) << pattern << ' ' << header;
}

TEST(Matcher, NumbersFollowThePatternsOrderAlsoOfNodesLeftOut) {
    std::int32_t numbers[2] = {};
    EXPECT_TRUE(matchCommand(":A[:BEE#]:CEE#", "A:CEE7", numbers));
    EXPECT_EQ(numbers[0], 1);
    EXPECT_EQ(numbers[1], 7);
}

/// The checked-in list of rows that are never reached, so that nobody waits for one: "twice" for a pattern that stands in
/// the table before, "shadowed" for one whose every spelling an earlier row takes.
TEST(Matcher, TheIndexFindsTheRowThatComparingAllFindsAndRowsThatAreNeverReachedAreKnown) {
    std::set<std::string> unreached, known;
    for (std::size_t row = 0; row < command_order.size(); ++row) {
        const auto spellings = Spellings(command_order[row]);
        ASSERT_FALSE(spellings.empty()) << command_order[row];
        bool reached = false;
        for (const std::string& header : spellings) {
            const auto* found = Find_Linear(All_Rows(), header);
            ASSERT_EQ(Index().Find(header), found) << header;
            reached = reached || found == All_Rows() + row;
        }
        const auto earlier = std::span(command_order).first(row);
        const bool twice = std::ranges::count(earlier, std::string_view(command_order[row])) > 0;
        if (!reached) unreached.insert(std::string(twice ? "twice " : "shadowed ") + command_order[row]);
    }
    std::ifstream list(std::string(KVA720_SOURCE) + "/scpi/commands/unreached.txt");
    for (std::string line; std::getline(list, line);) {
        if (!line.empty() && line.front() != '#') known.insert(line);
    }
    EXPECT_EQ(unreached, known);
}

}  // namespace

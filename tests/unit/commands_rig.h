#pragma once
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "records_fixture.h"
#include "scpi/commands/table.h"
#include "scpi/parser.h"
#include "scpi/writers.h"

/// The instrument's command table behind an interface of the test's own.
class Commands : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        Commands_Init();
        scpi_interface = {.write = SCPI_Write, .flush = Keep_Answer};
        answer.clear();
        Clear_Output();
    }
    void TearDown() override {
        scpi_interface = {};
        scpi_context.commands = nullptr;
        scpi_context.index = nullptr;
        scpi_context.host = nullptr;
        Records::TearDown();
    }

    /// Sends a message and returns its answer without the newline.
    static std::string Ask(std::string_view message) {
        answer.clear();
        const std::string line = std::string(message) + "\n";
        SCPI_Input(scpi_context, line.data(), static_cast<int>(line.size()));
        if (!answer.empty() && answer.back() == '\n') answer.pop_back();
        return answer;
    }
    /// Sends a message and returns the codes of the errors that it leaves.
    static std::vector<int> Errors(std::string_view message) {
        SCPI_ErrorClear(scpi_context);
        EXPECT_EQ(Ask(message), "") << message;
        std::vector<int> codes;
        while (const int code = SCPI_ErrorPop(scpi_context)) codes.push_back(code);
        return codes;
    }
    static std::vector<int> None() { return {}; }

    static inline std::string answer;

private:
    static void Keep_Answer(ScpiContext&) {
        answer.assign(SCPI_outputBuffer.data(), SCPI_outputBuffer_idx);
        Clear_Output();
    }
};

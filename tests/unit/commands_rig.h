#pragma once

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
    /// Each of the messages leaves this error alone and answers nothing.
    static void Expect_Error(int code, std::initializer_list<const char*> messages) {
        for (const char* message : messages) EXPECT_EQ(Errors(message), Codes{code}) << message;
    }
    /// Each header with each of the endings leaves that ending's error alone.
    static void Expect_Errors(std::initializer_list<const char*> headers,
                              std::initializer_list<std::pair<const char*, int>> endings) {
        for (const std::string header : headers) {
            for (const auto& [ending, code] : endings) Expect_Error(code, {(header + ending).c_str()});
        }
    }
    /// A message and what it brings: an answer, an error, or what a row of a walk checks.
    struct Exchange : Walk_Step {
        using Walk_Step::Walk_Step;
        Exchange(const char* message, std::string_view expected, const char* why = "", Where at = Where::current())
            : Walk_Step(message, at), answer(expected), reason(why) {}
        Exchange(const char* message, int code, Where at = Where::current()) : Walk_Step(message, at), codes{code} {}
        template <std::size_t size>
        Exchange(const char* message, int code, const char (&why)[size], Where at = Where::current())
            : Walk_Step(message, at), codes{code}, reason(why) {}

        std::string_view answer;
        Codes codes;
        const char* reason = "";
    };
    /// Sends one message after another; errors may come where they are expected only.
    static void Talk(std::initializer_list<Exchange> exchanges) {
        for (const Exchange& exchange : exchanges) {
            const int line = static_cast<int>(exchange.where.line());
            const testing::ScopedTrace trace(exchange.where.file_name(), line, exchange.reason);
            SCPI_ErrorClear(scpi_context);
            if (exchange.action.call) exchange.action.call();
            else EXPECT_EQ(Ask(exchange.action.text), exchange.answer) << exchange.action.text;
            Codes codes;
            while (const int code = SCPI_ErrorPop(scpi_context)) codes.push_back(code);
            EXPECT_EQ(codes, exchange.codes) << exchange.action.text;
            exchange.Check();
        }
    }

    static inline std::string answer;

private:
    static void Keep_Answer(ScpiContext&) {
        answer.assign(SCPI_outputBuffer.data(), SCPI_outputBuffer_idx);
        Clear_Output();
    }
};

/// With the settings of a new instrument.
class Factory_Commands : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        Factory_Settings();
    }
};

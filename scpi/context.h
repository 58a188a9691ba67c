#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>

/// The parser's context and the records that hang off it: command rows, tokens, units, choices, the interface's
/// callbacks, input and output buffers, error queue, status registers.

constexpr std::size_t scpi_registers = 39;
constexpr std::int32_t error_queue_capacity = 100;
constexpr std::size_t error_text_size = 100;
constexpr std::size_t error_stamp_size = 50;
constexpr std::size_t scpi_input_size = 512;
constexpr std::size_t scpi_output_size = 10000;  ///< with the final NUL: 9999 bytes of answer a message

struct Error_Queue {
    std::int32_t write = 0;
    std::int32_t read = 0;
    std::int32_t capacity = error_queue_capacity;
    std::int32_t count = 0;
    std::array<std::int32_t, error_queue_capacity> code{};
    std::array<std::array<char, error_text_size>, error_queue_capacity> text{};
    std::array<std::array<char, error_stamp_size>, error_queue_capacity> stamp{};
};

struct ScpiContext;
class Command_Index;

/// Kinds of tokens; the numbers are part of the interface to handlers.
enum class ScpiTokenType : std::int32_t {
    comma = 0, semicolon = 1, newline = 3, hexadecimal = 4, octal = 5, binary = 6, character_data = 7, decimal = 8,
    decimal_with_suffix = 9, suffix = 10, arbitrary_block = 11, single_quoted = 12, double_quoted = 13, expression = 14,
    compound_header = 15, incomplete_compound_header = 16, common_header = 17, incomplete_common_header = 18,
    compound_query_header = 19, common_query_header = 20, white_space = 21, all_program_data = 22, invalid = 23,
    unknown = 24
};

struct ScpiToken {
    ScpiTokenType type = ScpiTokenType::unknown;
    char* start = nullptr;
    std::int32_t length = 0;

    std::string_view Text() const { return start ? std::string_view(start, static_cast<std::size_t>(length)) : ""; }
};

/// A row of the command table. The handler returns 1 for success and anything else for failure.
struct ScpiCommand {
    const char* pattern;
    int (*handler)(ScpiContext& context);
    std::int32_t tag = 0;
};

/// A row of a choice table; it ends with a null name. Lower-case letters of the name may be left out together.
struct ScpiChoiceDef {
    const char* name;
    std::int32_t tag;
};

enum Scpi_Unit : std::int32_t {
    suffix_none = 0, suffix_volt = 1, suffix_watt = 2, suffix_dbmv = 3, suffix_dbuv = 4, suffix_dbm = 5, suffix_hertz = 8, suffix_second = 10,
    suffix_db = 12, suffix_dbc = 13, suffix_dbm_hz = 14
};

/// A row of the unit table: the written value times the multiplier is in the unit. Decibels carry multiplier 1.
struct ScpiUnitDef {
    const char* suffix;
    std::int32_t unit;
    double multiplier;
};

/// A number as SCPI_ParamNumber reads it.
struct ScpiNumber {
    bool special = false;
    union {
        double value = 0;   ///< in the base unit, when not special
        std::int32_t tag;   ///< of the specials table, when special
    };
    std::int32_t unit = suffix_none;
    std::int32_t base = 10;  ///< 2, 8, 10 or 16, as it was written
};

/// Text being cut into tokens.
struct ScpiLexer {
    char* start = nullptr;
    char* current = nullptr;
    std::int32_t length = 0;
};

enum class ScpiMessageTermination : std::int32_t { none = 0, newline = 1, semicolon = 2 };

struct ScpiParserState {
    ScpiToken header;
    ScpiToken data;
    std::int32_t parameters = 0;  ///< found in the data; -1 where it can't be cut into elements
    ScpiMessageTermination termination = ScpiMessageTermination::none;
};

/// What an interface does for the parser; any of them may be null.
struct ScpiInterface {
    int (*error)(ScpiContext& context, int code) = nullptr;
    std::size_t (*write)(ScpiContext& context, const char* data, std::size_t length) = nullptr;
    void (*control)(ScpiContext& context, int control, std::uint32_t value) = nullptr;
    void (*flush)(ScpiContext& context) = nullptr;
    void (*reset)(ScpiContext& context) = nullptr;
};

/// Controls of the interface.
enum Scpi_Control_Code { control_service_request = 1, control_status_byte = 2, control_status_cleared = 3 };

enum Interface_Kind : std::int32_t {
    interface_none = -1, interface_gpib = 0, interface_rs232 = 1, interface_web = 2, interface_hislip = 3, interface_socket = 4,
    interface_usb = 5, interface_vxi11 = 6
};

/// Who is talking: the kind of interface and its descriptor, client or session.
struct ScpiUserContext {
    std::int32_t kind = interface_none;
    std::int32_t descriptor = -1;

    bool operator==(const ScpiUserContext&) const = default;
};

/// What the parser asks of the instrument around it; any of them may be null.
struct Scpi_Host {
    /// Before new input: leaves the modes of the file menu.
    void (*leave_file_modes)() = nullptr;
    /// Asked again and again by a wait for the end of a sweep, without locks: lets a short time pass and serves
    /// what must go on. False when the wait has to end: nothing can come that ends it, its client is gone, the stop.
    bool (*keep_waiting)() = nullptr;
    /// Asked again and again, without locks, by input that a wait on another thread holds back: lets a short time pass and
    /// serves what must go on.
    void (*held_back)() = nullptr;
};

inline std::array<std::uint32_t, scpi_registers> scpi_regs{};
inline std::array<char, scpi_input_size> scpi_input_buffer{};
inline std::array<char, scpi_output_size> SCPI_outputBuffer{};
inline std::size_t SCPI_outputBuffer_idx = 0;
inline ScpiUserContext scpi_user_context;
inline ScpiInterface scpi_interface;
inline Error_Queue local_error_queue;

extern const ScpiUnitDef scpi_units_def[];
extern const ScpiChoiceDef scpi_special_numbers_def[];
enum Special_Number : std::int32_t {
    number_minimum = 1, number_maximum, number_default, number_up, number_down, number_nan, number_infinity, number_ninf,
    number_auto
};

struct ScpiContext {
    const ScpiCommand* commands = nullptr;  ///< ends with a row whose pattern is null
    struct Input {
        unsigned capacity = scpi_input_size;
        unsigned position = 0;
        char* data = scpi_input_buffer.data();
    } input;
    struct Parameter_State {
        const ScpiCommand* command = nullptr;
        ScpiLexer lexer;
        struct Raw_Header {
            char* start = nullptr;
            std::int32_t length = 0;
            std::int32_t position = 0;
        } header;
    } parameter;
    ScpiInterface* interface = &scpi_interface;
    std::int32_t output_count = 0;          ///< results of the command in hand
    std::int32_t message_output_count = 0;  ///< results of the message so far
    std::int32_t input_count = 0;           ///< parameters read by the command in hand
    bool command_error = false;             ///< an error was pushed during the command in hand
    Error_Queue* errors = nullptr;
    std::array<std::uint32_t, scpi_registers>* registers = &scpi_regs;
    const ScpiUnitDef* units = scpi_units_def;
    ScpiUserContext* user_context = &scpi_user_context;
    ScpiParserState parser_state;
    std::array<const char*, 4> identification{};  ///< maker, model, serial number and a further text; may be null

    const Command_Index* index = nullptr;  ///< finds a row without comparing all; null: each row is compared
    const Scpi_Host* host = nullptr;
    /// Setting a bit is read, change, write; several threads do it. A leaf: nothing is locked inside it.
    std::recursive_mutex status_lock;
};

inline ScpiContext scpi_context;

/// Empties the input and attaches an empty error queue. Called once at start-up.
void SCPI_Init(ScpiContext& context);

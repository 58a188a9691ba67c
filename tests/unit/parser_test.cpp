#include <mutex>

#include "records_fixture.h"
#include "scpi/lexer.h"
#include "scpi/parser.h"
#include "scpi/readers.h"
#include "scpi/wait.h"
#include "scpi/writers.h"

namespace {

std::vector<std::string> ran;         ///< what the handlers did, in their order
std::vector<std::string> answers;     ///< as they were sent
std::vector<std::uint32_t> handed;    ///< status bytes handed to the device

void Keep_Answer(ScpiContext&) {
    answers.emplace_back(SCPI_outputBuffer.data(), SCPI_outputBuffer_idx);
    Clear_Output();
}
void Keep_Control(ScpiContext&, int control, std::uint32_t value) {
    if (control == control_status_byte) handed.push_back(value);
}

int Note(ScpiContext& context) {
    ran.emplace_back(context.parameter.command->pattern);
    return 1;
}
int Number(ScpiContext& context) {
    ScpiNumber number;
    if (!SCPI_ParamNumber(context, scpi_special_numbers_def, &number, true)) return -1;
    ran.push_back(number.special ? "special " + std::to_string(number.tag)
                                 : std::to_string(number.value) + " unit " + std::to_string(number.unit) + " base " +
                                       std::to_string(number.base));
    return 1;
}
int Two_Integers(ScpiContext& context) {
    std::int32_t a = 0, b = 0;
    if (!SCPI_ParamInt(context, &a, true)) return -1;
    const bool second = SCPI_ParamInt(context, &b, false);
    ran.push_back(std::to_string(a) + (second ? "," + std::to_string(b) : ""));
    return context.command_error ? -1 : 1;
}
int Unsigned(ScpiContext& context) {
    std::uint32_t value = 0;
    if (!SCPI_ParamUnsignedInt(context, &value, true)) return -1;
    ran.push_back(std::to_string(value));
    return 1;
}
int Double(ScpiContext& context) {
    double value = 0;
    if (!SCPI_ParamDouble(context, &value, true)) return -1;
    ran.push_back(std::to_string(value));
    return 1;
}
int Boolean(ScpiContext& context) {
    bool value = false;
    if (!SCPI_ParamBool(context, &value, true)) return -1;
    ran.emplace_back(value ? "on" : "off");
    return 1;
}
int Text(ScpiContext& context) {
    std::array<char, 8> copy;
    copy.fill('.');
    std::size_t copied = 0;
    if (!SCPI_ParamCopyText(context, copy.data(), copy.size(), &copied, true)) return -1;
    ran.emplace_back(copy.data(), copied);
    EXPECT_TRUE(copied == copy.size() || copy[copied] == '\0');
    return 1;
}
int Characters(ScpiContext& context) {
    const char* text = nullptr;
    std::size_t length = 0;
    if (!SCPI_ParamCharacters(context, &text, &length, true)) return -1;
    ran.emplace_back(text, length);
    return 1;
}
int Block(ScpiContext& context) {
    const char* data = nullptr;
    std::size_t length = 0;
    if (!SCPI_ParamArbitraryBlock(context, &data, &length, true)) return -1;
    ran.emplace_back(data, length);
    return 1;
}
constexpr ScpiChoiceDef shapes_def[] = {{"RECTangle", 3}, {"GAUSs#", 4}, {nullptr, 0}};
int Choice(ScpiContext& context) {
    ScpiToken token;
    std::int32_t tag = 0, number[1] = {};
    if (!SCPI_Parameter(context, &token, true) || !SCPI_ParamToChoice(context, token, shapes_def, &tag)) return -1;
    const bool numbered = SCPI_ParameterNumbers(token, SCPI_ChoiceToName(shapes_def, tag), number);
    ran.push_back(std::to_string(tag) + (numbered ? " " + std::to_string(number[0]) : ""));
    return 1;
}
int Header_Numbers(ScpiContext& context) {
    std::int32_t numbers[2];
    SCPI_CommandNumbers(context, numbers);
    SCPI_ResultInt(context, numbers[0]);
    SCPI_ResultInt(context, numbers[1]);
    return 1;
}
int Fail_Quietly(ScpiContext&) { return -1; }
int Identify(ScpiContext& context) {
    if (!SCPI_NoParameters(context)) return -1;
    SCPI_ResultCharacters(context, "me", 2);
    return 1;
}
int Everything(ScpiContext& context) {
    SCPI_ResultInt(context, -2147483647 - 1);
    SCPI_ResultIntBase(context, -1, 16);
    SCPI_ResultIntBase(context, 10, 2);
    SCPI_ResultIntBase(context, 8, 8);
    SCPI_ResultBool(context, true);
    SCPI_ResultText(context, "a\"b");
    SCPI_ResultArbitraryBlock(context, "x\ny", 3);
    SCPI_ResultArbitraryBlock(context, nullptr, 0);
    SCPI_ResultDouble(context, 1.5e9);
    return 1;
}
int Flood(ScpiContext& context) {
    const std::string text(6000, 'z');
    SCPI_ResultCharacters(context, text.data(), text.size());
    SCPI_ResultCharacters(context, text.data(), text.size());
    return 1;
}
int Wait(ScpiContext& context) {
    Begin_Pending_Operation(context);
    return 1;
}

constexpr ScpiCommand rows[] = {{"*IDN?", Identify},
                                {"*CLS", Note},
                                {"*WAI", Wait},
                                {"[:SENSe]:FREQuency:CENTer", Number},
                                {"[:SENSe]:FREQuency:SPAN", Number},
                                {"[:SENSe]:FREQuency?", Identify},
                                {":DATA:INTeger", Two_Integers},
                                {":DATA:UNSigned", Unsigned},
                                {":DATA:DOUBle", Double},
                                {":DATA:BOOL", Boolean},
                                {":DATA:TEXT", Text},
                                {":DATA:CHARacters", Characters},
                                {":DATA:BLOCk", Block},
                                {":DATA:CHOice", Choice},
                                {":DATA:MARKer#:TRACe#?", Header_Numbers},
                                {":DATA:FAIL", Fail_Quietly},
                                {":DATA:ALL?", Everything},
                                {":DATA:FLOod?", Flood},
                                {nullptr, nullptr}};

class Parser : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        ran.clear();
        answers.clear();
        handed.clear();
        Clear_Output();
        scpi_interface = {.write = SCPI_Write, .control = Keep_Control, .flush = Keep_Answer};
        scpi_context.commands = rows;
        scpi_user_context = {interface_socket, 1};
    }
    void TearDown() override {
        scpi_context.commands = nullptr;
        scpi_context.host = nullptr;
        scpi_user_context = {};
        Records::TearDown();
    }
    static int Send(const std::string& text) { return SCPI_Input(scpi_context, text.data(), static_cast<int>(text.size())); }

    /// Codes in the error queue since the last look.
    static std::vector<int> Errors() {
        std::vector<int> codes;
        while (local_error_queue.count) codes.push_back(SCPI_ErrorPop(scpi_context));
        return codes;
    }
    /// What one parameter text makes of a row: what ran, or the error.
    static std::string Try(const std::string& header, const std::string& parameters) {
        ran.clear();
        Send(header + " " + parameters + "\n");
        const auto codes = Errors();
        if (codes.size() == 1) return std::to_string(codes[0]);
        return codes.empty() && ran.size() == 1 ? ran[0] : "neither";
    }
};
using Texts = std::vector<std::string>;

TEST_F(Parser, AMessageRunsAtItsNewlineHoweverItIsCut) {
    const std::string message = ":FREQ:CENT 1 GHz;SPAN 2e6;*IDN?\r\n*IDN?\n";
    for (std::size_t cut = 1; cut < message.size(); ++cut) {
        ran.clear();
        answers.clear();
        Send(message.substr(0, cut));
        EXPECT_EQ(ran.empty(), cut < message.find('\r') + 1) << cut;
        Send(message.substr(cut));
        EXPECT_EQ(ran, (Texts{"1000000000.000000 unit 8 base 10", "2000000.000000 unit 0 base 10"})) << cut;
        EXPECT_EQ(answers, (Texts{"me\n", "me\n"})) << cut;
    }
    ran.clear();
    for (const char c : message) Send(std::string(1, c));
    EXPECT_EQ(ran.size(), 2u);
    EXPECT_EQ(Errors(), Codes{});
}

TEST_F(Parser, WithoutNewlineAMessageWaitsForAnInputOfNoLength) {
    Send("*IDN?;*IDN?");
    EXPECT_TRUE(answers.empty());
    Expect({{SCPI_Input(scpi_context, "", 0), 1}, {answers, Texts{"me;me\n"}}, {scpi_context.input.position, 0u}});
    EXPECT_NE(SCPI_RegGet(scpi_context, reg_stb) & stb_message_available, 0u);
    Send("*");
    EXPECT_EQ(SCPI_RegGet(scpi_context, reg_stb) & stb_message_available, 0u) << "new input takes the announcement back";
}

TEST_F(Parser, InputThatDoesNotFitIsDroppedWholeWithoutError) {
    Expect({{Send(std::string(500, ' ')), 0}, {Send(std::string(12, ' ')), -1}, {scpi_context.input.position, 500u},
            {Send("*IDN?      "), 0, "511 bytes fit"}, {Send("\n"), -1}, {Errors(), Codes{}}});
    SCPI_Input(scpi_context, "", 0);
    EXPECT_EQ(answers, Texts{"me\n"});
}

TEST_F(Parser, HeadersInheritThePathOfTheOneThatRanBefore) {
    struct Case {
        const char* message;
        std::size_t executed;
        Codes errors;
    };
    const Case cases[] = {
        {":FREQ:CENT 1;SPAN 2;CENT 3\n", 3, {}}, {"SENS:FREQ:CENT 1;SPAN 2;:FREQ:SPAN 3\n", 3, {}},
        {":FREQ:CENT 1;*CLS;SPAN 2\n", 2, {-113}}, {":FREQ:CENT 1\nSPAN 2\n", 1, {-113}},
        {":DATA:FAIL;X;Y;INT 5\n", 1, {-200, -113, -113}}, {":FREQ:CENT 1;NONE 5;SPAN 2\n", 2, {-113}},
        {"FREQ:CENT 1;FREQ:SPAN 2\n", 1, {-113}}, {"*CLS;:*IDN?\n", 1, {-113}}, {"*CLS;*\n", 1, {-113}},
        {"FREQ:\n", 0, {-113}}, {";;\n", 0, {}}, {"FREQ? x;*CLS\n", 1, {-108}}, {"FREQ?x;*CLS\n", 1, {-101}},
        {"FREQ:CENT @;*CLS\n", 1, {-101}}, {"FREQ:CENT 1,;*CLS\n", 1, {-101}}, {"FREQ:CENT 1 2;*CLS\n", 1, {-101}},
        {"FREQ:CENT 'a;*CLS\n", 1, {-101}}, {":DATA:BLOC #0;*CLS\n", 1, {-101}},
        {":DATA:BLOC #299abc;*CLS\n", 1, {-101}}, {":DATA:BLOC #15ab;*E;*CLS\n", 2, {}}, {"\1*CLS\n*CLS\n", 1, {-101}}
    };
    for (const auto& [message, executed, errors] : cases) {
        ran.clear();
        Send(message);
        EXPECT_EQ(ran.size(), executed) << message;
        EXPECT_EQ(Errors(), errors) << message;
    }
    EXPECT_EQ(scpi_context.input.position, 0u);
}

TEST_F(Parser, ReadersTakeWhatSuitsThemAndRefuseTheRestByCode) {
    const struct {
        const char *header, *parameters, *result;
    } cases[] = {
        {":FREQ:CENT", "1ghz", "1000000000.000000 unit 8 base 10"},
        {":FREQ:CENT", "-.5 E 3\tmV", "-0.500000 unit 1 base 10"},
        {":FREQ:CENT", "3 dBm/Hz", "3.000000 unit 14 base 10"}, {":FREQ:CENT", "1 furlong", "-131"},
        {":FREQ:CENT", "1e", "-131"}, {":FREQ:CENT", "#hFf", "255.000000 unit 0 base 16"},
        {":FREQ:CENT", "#B101", "5.000000 unit 0 base 2"}, {":FREQ:CENT", "maximum", "special 2"},
        {":FREQ:CENT", "MAXI", "-224"}, {":FREQ:CENT", "\"1\"", "-104"}, {":FREQ:CENT", "", "-109"},
        {":FREQ:CENT", "1,2", "-108"}, {":DATA:INT", "-12,+7", "-12,7"}, {":DATA:INT", "#HFFFFFFFF", "-1"},
        {":DATA:INT", "99999999999", "2147483647"}, {":DATA:INT", "1 V", "-138"}, {":DATA:INT", "ON", "-104"},
        {":DATA:UNS", "#Q17", "15"}, {":DATA:UNS", "-1", "-120"}, {":DATA:UNS", "#H80000000", "-120"},
        {":DATA:UNS", "5000000000", "-120"}, {":DATA:DOUB", "#HFFFFFFFF", "4294967295.000000"},
        {":DATA:DOUB", "1.5E2", "150.000000"}, {":DATA:DOUB", "1 s", "-138"}, {":DATA:BOOL", "on", "on"},
        {":DATA:BOOL", "0", "off"}, {":DATA:BOOL", "2", "-120"}, {":DATA:BOOL", "#H1", "-104"},
        {":DATA:BOOL", "maybe", "-224"}, {":DATA:TEXT", "'it''s'", "it's"},
        {":DATA:TEXT", "\"0123456789\"", "01234567"}, {":DATA:TEXT", "#H12ab", "12ab"}, {":DATA:TEXT", "bare", "-104"},
        {":DATA:CHAR", "\"a;b\"", "a;b"}, {":DATA:CHAR", "(1,2:3)", "(1,2:3)"}, {":DATA:CHAR", "plain", "plain"},
        {":DATA:BLOC", "#15a\nb;c", "a\nb;c"}, {":DATA:BLOC", "#10", ""}, {":DATA:BLOC", "'x'", "-104"},
        {":DATA:CHO", "rect", "3 1"}, {":DATA:CHO", "GAUSS12", "4 12"}, {":DATA:CHO", "gaus", "4 1"},
        {":DATA:CHO", "round", "-224"}, {":DATA:CHO", "1", "-104"}, {":DATA:FAIL", "", "-200"},
        {":DATA:FAIL", "1", "-200"}
    };
    for (const auto& [header, parameters, result] : cases) EXPECT_EQ(Try(header, parameters), result) << header << ' ' << parameters;
    ran.clear();
    Send(":DATA:INT 1 , 2\n");
    EXPECT_EQ(ran, Texts{"1,2"});
    EXPECT_FALSE(SCPI_ParamInt(scpi_context, nullptr, true));
    EXPECT_EQ(Errors(), Codes{-310});
}

TEST_F(Parser, AMissingSeparatorIsToldWhereAHandlerReadsOn) {
    std::string data = "1 2";
    scpi_context.parameter.lexer = {data.data(), data.data(), 3};
    scpi_context.input_count = 0;
    std::int32_t value = 0;
    EXPECT_TRUE(SCPI_ParamInt(scpi_context, &value, true));
    EXPECT_FALSE(SCPI_ParamInt(scpi_context, &value, true));
    EXPECT_EQ(Errors(), Codes{-103});
}

TEST_F(Parser, ResultsAreSeparatedAndCutAtTheOutputsEnd) {
    Send(":DATA:MARK3:TRAC?;TRAC2?;:DATA:MARK99999999999:TRAC?\n");
    Send(":DATA:ALL?\n");
    EXPECT_EQ(answers, (Texts{"3,1;3,2;2147483647,1\n",
                              "-2147483648,#HFFFFFFFF,#B1010,#Q10,1,\"a\"b\",#13x\ny,#10,1.500000000e+09\n"}));
    answers.clear();
    Send(":DATA:FLO?\n*IDN?\n");
    ASSERT_EQ(answers.size(), 2u);
    Expect({{answers[0].size(), 9999u}, {answers[1], "me\n"}, {Errors(), Codes{}}});
}

TEST_F(Parser, AMessageWithoutAnswerHandsItsStatusByteToTheUsbFileAlone) {
    Send("*CLS\n");
    EXPECT_TRUE(handed.empty());
    scpi_user_context = {interface_usb, 1};
    Send("*CLS\n:NONE\n*IDN?\n");
    EXPECT_EQ(handed, (std::vector<std::uint32_t>{0, stb_error_queue}));
    EXPECT_EQ(answers, Texts{"me\n"});
}

TEST_F(Parser, ClientsKeepTheirHalfMessagesApart) {
    Pending_Input first, second;
    const ScpiUserContext one{interface_socket, 5}, two{interface_socket, 6};
    SCPI_Receive(scpi_context, one, first, ":FREQ:CENT ");
    SCPI_Receive(scpi_context, two, second, "*ID");
    SCPI_Receive(scpi_context, one, first, "7\n");
    EXPECT_EQ(ran, Texts{"7.000000 unit 0 base 10"});
    EXPECT_TRUE(answers.empty());
    SCPI_Receive(scpi_context, two, second, "N?\n*IDN?\n*I");
    Expect({{answers, (Texts{"me\n", "me\n"})}, {scpi_user_context, two}, {second.length, 2u},
            {scpi_context.input.position, 0u}});
}

TEST_F(Parser, ATooLongMessageIsForgottenAtItsNewlineAndAllOthersRun) {
    Pending_Input pending;
    const ScpiUserContext client{interface_socket, 5};
    std::string flood;
    for (int i = 0; i < 200; ++i) flood += "*IDN?\n";
    SCPI_Receive(scpi_context, client, pending, flood);
    EXPECT_EQ(answers.size(), 200u);
    answers.clear();
    EXPECT_EQ(SCPI_Receive(scpi_context, client, pending, "*CLS;" + std::string(10000, ';')), -1);
    EXPECT_TRUE(ran.empty());
    SCPI_Receive(scpi_context, client, pending, ";*IDN?\n*IDN?\n");
    EXPECT_EQ(answers, Texts{"me\n"});
    EXPECT_EQ(Errors(), Codes{});
    const std::string exact = "*IDN?" + std::string(505, ' ') + "\n";
    SCPI_Receive(scpi_context, client, pending, exact + exact);
    EXPECT_EQ(answers.size(), 3u) << "511 bytes are a message";
}

int asked = 0;
bool Wait_Three_Times() {
    ++asked;
    EXPECT_FALSE(Command_Main_Mutex.Held_Here());
    if (asked == 3) {
        Command_Query_Opc_Flag = 0;
        Pending_Operation_Flag = 0;
        Pending_Operation_Flag_check = 0;
    }
    return true;
}
bool Let_Go() {
    ++asked;
    Release_Waits({interface_socket, 8});
    EXPECT_EQ(Waiting_Client(), (ScpiUserContext{interface_socket, 1}));
    Release_Waits(Waiting_Client());
    return true;
}
bool No_Sweep_Comes() { return false; }

TEST_F(Parser, WaitsEndWithTheSweepTheirClientOrTheHost) {
    constexpr Scpi_Host sweeping{.keep_waiting = Wait_Three_Times}, leaving{.keep_waiting = Let_Go}, dark{.keep_waiting = No_Sweep_Comes};
    const auto held_back = [](const Scpi_Host* host) {
        asked = 0;
        answers.clear();
        scpi_context.host = host;
        Send("*WAI\n*IDN?\n");
        EXPECT_EQ(answers, Texts{"me\n"});
        EXPECT_EQ(Pending_Operation_Flag.load() + Pending_Operation_Flag_check.load(), 0);
        return asked;
    };
    Expect({{held_back(&sweeping), 3}, {held_back(&leaving), 1}, {held_back(&dark), 0}, {held_back(nullptr), 0}});

    const auto query = [](const Scpi_Host* host) {
        asked = 0;
        scpi_context.host = host;
        const std::lock_guard records(Command_Main_Mutex);
        const bool kept = Wait_For_Sweep(scpi_context);
        EXPECT_TRUE(Command_Main_Mutex.Held_Here());
        EXPECT_EQ(Command_Query_Opc_Flag.load() + Pending_Operation_Flag.load(), 0);
        return kept;
    };
    EXPECT_TRUE(query(&sweeping));
    EXPECT_EQ(asked, 3);
    EXPECT_TRUE(query(&dark));
    EXPECT_FALSE(query(&leaving));
}

}  // namespace

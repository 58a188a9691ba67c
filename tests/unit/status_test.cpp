#include <cstring>

#include "records_fixture.h"

namespace {

int requests = 0;
void Count_Requests(ScpiContext&, int control, std::uint32_t) { requests += control == 1; }

class Status : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        requests = 0;
        scpi_interface.control = Count_Requests;
    }
    static std::uint32_t Get(std::size_t index) { return SCPI_RegGet(scpi_context, index); }
    static void Set(std::size_t index, std::uint32_t value) { SCPI_RegSet(scpi_context, index, value); }
};

constexpr std::uint32_t all = 65535;

TEST_F(Status, ACommandErrorRaisesOneRequestAndEachFurtherChangeAnother) {
    Set(reg_ese, 32);
    Set(reg_sre, 32);
    SCPI_ErrorPush(scpi_context, -113);
    EXPECT_EQ(Get(reg_esr), 32u);
    EXPECT_EQ(Get(reg_stb), 32u + 64u + 4u);
    const int after_error = requests;
    EXPECT_GE(after_error, 1);
    SCPI_RegSetBits(scpi_context, reg_stb, stb_message_available);
    EXPECT_EQ(requests, after_error + 1);
    SCPI_RegSetBits(scpi_context, reg_stb, stb_message_available);
    EXPECT_EQ(requests, after_error + 1) << "an unchanged status byte raises no request";
    Set(reg_sre, 0);
    EXPECT_EQ(Get(reg_stb) & stb_request_service, 0u);
}

TEST_F(Status, TransitionsMakeEventsUnlessBitsRiseAndFallAtOnce) {
    const std::size_t event = reg_operation + set_event, condition = reg_operation + set_condition;
    Set(reg_operation + set_negative, all);
    Set(condition, 1);
    EXPECT_EQ(Get(event), 1u);
    Set(condition, 2);
    EXPECT_EQ(Get(event), 1u) << "one bit rises, one falls: nothing is recorded";
    Set(reg_operation + set_positive, 0);
    Set(condition, 0);
    EXPECT_EQ(Get(event), 3u) << "a falling bit counts by its own filter";
    Set(condition, 4);
    EXPECT_EQ(Get(event), 3u) << "a rising bit without its filter does not";
}

TEST_F(Status, SubRegistersSumUpWhateverTheirEnableSays) {
    Set(reg_questionable + set_enable, 32);
    Set(reg_questionable_frequency + set_enable, 0);
    Set(reg_questionable_frequency + set_condition, 32);
    EXPECT_EQ(Get(reg_questionable + set_condition), 32u);
    EXPECT_EQ(Get(reg_questionable + set_event), 32u);
    EXPECT_EQ(Get(reg_stb), std::uint32_t{stb_questionable});
    Set(reg_questionable_frequency + set_event, 0);
    EXPECT_EQ(Get(reg_questionable + set_condition), 0u);
    Set(reg_questionable_fifth + set_condition, 1);
    EXPECT_EQ(Get(reg_questionable + set_condition), 32768u);
}

TEST_F(Status, PresetLeavesTheFifthEnableAndIndexesOutsideAreIgnored) {
    Set(reg_questionable_fifth + set_enable, 7);
    Set(reg_operation + set_enable, 9);
    Set(reg_questionable_toilimit + set_enable, 0);
    SCPI_StatusPreset(scpi_context);
    EXPECT_EQ(Get(reg_questionable_fifth + set_enable), 7u);
    EXPECT_EQ(Get(reg_operation + set_enable), 0u);
    EXPECT_EQ(Get(reg_questionable_toilimit + set_enable), all);
    Set(39, 5);
    SCPI_RegSetBits(scpi_context, 4000, 5);
    EXPECT_EQ(Get(39), 0u);
}

TEST_F(Status, AFullQueueLosesItsOldestEntry) {
    for (int i = 0; i < 101; ++i) SCPI_ErrorPush(scpi_context, i == 0 ? -100 : i == 100 ? -222 : -101);
    EXPECT_EQ(scpi_context.errors->count, 100);
    EXPECT_EQ(SCPI_ErrorPageIndex(scpi_context, 0), 1);
    EXPECT_EQ(SCPI_ErrorPop(scpi_context), -101) << "-100 was the oldest";
    for (int i = 0; i < 98; ++i) SCPI_ErrorPop(scpi_context);
    EXPECT_NE(Get(reg_stb) & stb_error_queue, 0u);
    EXPECT_EQ(SCPI_ErrorPop(scpi_context), -222);
    EXPECT_EQ(Get(reg_stb) & stb_error_queue, 0u);
    EXPECT_EQ(SCPI_ErrorPop(scpi_context), 0);
}

TEST_F(Status, EntriesCarryMessageInputAndTimeWithinTheirSlots) {
    const std::string header = ":FREQ:CENTRAL " + std::string(300, '9') + "\n";
    std::memcpy(scpi_context.input.data, header.data(), header.size());
    scpi_context.input.position = static_cast<unsigned>(header.size());
    {
        const std::lock_guard inputs(scpi_lock_mutex);
        SCPI_ErrorPush(scpi_context, -113);
    }
    const std::string text = local_error_queue.text[0].data();
    EXPECT_EQ(text.size(), error_text_size - 1);
    EXPECT_TRUE(text.starts_with("Undefined      header;:FREQ:CENTRAL 999")) << text;
    EXPECT_STREQ(local_error_queue.stamp[0].data(), "2026/01/02 03:04:05");
    SCPI_ErrorPush(scpi_context, 101);
    EXPECT_STREQ(local_error_queue.text[1].data(), "Uncal") << "an error of the instrument's own is no remote command's";
}

TEST_F(Status, MessagesKeepTheirSpacing) {
    EXPECT_EQ(SCPI_ErrorCodes(), 147u);
    EXPECT_EQ(SCPI_ErrorTranslate(0), "No error");
    EXPECT_EQ(SCPI_ErrorTranslate(-110), "Command      header error");
    EXPECT_EQ(SCPI_ErrorTranslate(-203), "Command      protected      TK024");
    EXPECT_EQ(SCPI_ErrorTranslate(318), "IF      file      recall error");
    EXPECT_EQ(SCPI_ErrorTranslate(-999), "Unknown error");
}

}  // namespace

#include <filesystem>
#include <fstream>

#include "display/draw.h"
#include "display/pictures.h"
#include "keys/handlers.h"
#include "keys/menus/rows.h"
#include "keys/name_entry.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "platform/root.h"
#include "records_fixture.h"
#include "system/information.h"
#include "system/lan_settings.h"
#include "system/settings.h"

namespace {

class System_Menu : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        root.Write("/var/log/error.log", "");
        root.Write("/mnt/nand/none", "");
        root.Write("/opt/KVA720/none", "");
        Factory_Settings();
    }
    /// The settings as a next start finds them.
    static bool Start_Again() {
        Reset_Records();
        platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
        return Recall_Settings();
    }
    static std::string Clock() {
        const std::tm now = platform::Wall_Clock();
        std::array<char, 32> text{};
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &now);
        return text.data();
    }
};

TEST_F(System_Menu, SettingsOutlastThePower) {
    Walk({{"SYSTEM f4 f2", POWER_On, 0}, {"SYSTEM f2 f3 up up <<", Sys_Data.gpib_address, 17},
          {"f5 f2", [&] { return Baud_Rate_Of(Sys_Data.baud_rate); }, 38400}, {"", SysLink[6].highlight, 2},
          {"SYSTEM f3 f2", Display_Data.clock_shown, 0}, {"DISPLAY f3 down", Display_Data.brightness, 95}});
    ASSERT_TRUE(Start_Again());
    Walk({{"", POWER_On, 0}, {"", Sys_Data.gpib_address, 17},
          {"", [&] { return Baud_Rate_Of(Sys_Data.baud_rate); }, 38400}, {"", Display_Data.clock_shown, 0},
          {"", Display_Data.brightness, 95}});
}

TEST_F(System_Menu, ADamagedSettingsFileChangesNothing) {
    Walk({{"", Start_Again, false, "none is there"}, {{Set_GPIB_Address, 7}}});
    const std::string good = root.Read("/mnt/nand/settings.sys");
    const auto refused = [&](const std::string& text) {
        root.Write("/mnt/nand/settings.sys", text);
        testing::internal::CaptureStderr();
        const bool taken = Start_Again();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "the settings file /mnt/nand/settings.sys is damaged\n");
        return !taken && Sys_Data.gpib_address == 18 && POWER_On == 1;
    };
    for (std::size_t length = 1; length < good.size(); length += 3) EXPECT_TRUE(refused(good.substr(0, length))) << length;
    const auto changed = [&](const char* from, const char* to) {
        std::string text = good;
        return text.replace(text.find(from), std::string_view(from).size(), to);
    };
    EXPECT_TRUE(refused(changed("gpib_address 7", "gpib_address 31")));
    EXPECT_TRUE(refused(changed("gpib_address 7", "gpib_address x")));
    EXPECT_TRUE(refused(changed("gpib_address 7", "gpib_adress 7")));
    EXPECT_TRUE(refused(changed("brightness 100", "brightness nan")));
    EXPECT_TRUE(refused(changed("settings 1", "settings 2")));
    EXPECT_TRUE(refused(changed("end\n", "more 1\nend\n")));
    root.Write("/mnt/nand/settings.sys", good);
    Walk({{"", Start_Again, true}, {"", Sys_Data.gpib_address, 7}});
}

TEST_F(System_Menu, ValuesAreHeldWithinTheirLimits) {
    for (const auto& [typed, held] : {std::pair{-1.0, 0}, {12.4, 12}, {31.0, 30}, {1e300, 30}}) {
        Set_GPIB_Address(2, typed);
        EXPECT_EQ(Sys_Data.gpib_address, held);
    }
    for (const auto& [typed, held] : {std::pair{0.0, 10}, {55.0, 55}, {200.0, 100}}) {
        Set_Brightness(2, typed);
        EXPECT_EQ(Display_Data.brightness, held);
    }
}

TEST_F(System_Menu, ValuesAreTypedThroughTheirUnitPages) {
    Walk({{"SYSTEM f2 f3 21 f0", SysLink[5]}, {"", Sys_Data.gpib_address, 21},
          {"DISPLAY f3 40 f0", Display_Data.brightness, 40}, {"SYSTEM f3 f0 20301224 f0 f1 183000 f0", SysLink[3]},
          {"", [&] { return Clock(); }, "2030-12-24 18:30:00"},
          {"f0 20300231 f0", [&] { return Clock(); }, "2030-12-24 18:30:00", "there is no such date"}});
}

TEST_F(System_Menu, TheClockIsTheInstrumentsOwn) {
    Walk({{"", Clock, "2026-01-02 03:04:05"}, {"", [&] { return Set_Date(2, 20240229); }, 0},
          {"", [&] { return Set_Time(2, 235958); }, 0}, {"", Clock, "2024-02-29 23:59:58"}});
    platform::Step_Clock(std::chrono::seconds(3));
    EXPECT_EQ(Clock(), "2024-03-01 00:00:01");
    for (const double none : {20230229.0, 20241301.0, 20240100.0, 20240631.0, 19991231.0, 21000101.0, -1.0, 1e30}) {
        EXPECT_EQ(Set_Date(2, none), -1) << none;
    }
    for (const double none : {240000.0, 126000.0, 125960.0, -1.0, 1e30}) EXPECT_EQ(Set_Time(2, none), -1) << none;
    Walk({{"", [&] { return Clock(); }, "2024-03-01 00:00:01"},
          {"SYSTEM f3 f0 down", [&] { return Clock(); }, "2024-02-29 00:00:01"},
          {"f1 down", [&] { return Clock(); }, "2024-02-28 23:59:01"}});
    ASSERT_TRUE(Start_Again());
    EXPECT_EQ(Clock(), "2024-02-28 23:58:58") << "the offset outlasts the power";
}

TEST_F(System_Menu, TheUserPresetMustBeSavedBeforeItIsChosen) {
    Walk({{"SYSTEM f4 f0", Sys_Data.user_preset, 0}, {"f1", SysLink[8]}, {"", SysLink[8].highlight, no_highlight},
          {"f6"}});
    EXPECT_FALSE(std::filesystem::exists(platform::Rooted("/mnt/nand/UserPrset1.sta")));
    Press({soft(1), soft(0)});
    EXPECT_EQ(keylink.load(), &SysLink[7]);
    EXPECT_TRUE(std::filesystem::exists(platform::Rooted("/mnt/nand/UserPrset1.sta")));
    Press({soft(0)});
    EXPECT_EQ(Sys_Data.user_preset, 1);
    ASSERT_TRUE(Start_Again());
    EXPECT_EQ(Sys_Data.user_preset, 1);
}

TEST_F(System_Menu, TheInformationScreenStaysForItsKeysAlone) {
    FunctionMode_Flag = mode_spectrum_list;
    Global_Table = table_peak;
    const auto shown = [] {
        Walk({{"SYSTEM f0", System_information, 1}, {"", FunctionMode_Flag, mode_file_view, "the sweep rests"},
              {"", SysLink[0]}});
    };
    const auto left = [] {
        return System_information == 0 && FunctionMode_Flag == mode_spectrum_list && Global_Table == table_peak;
    };
    shown();
    Walk({{"f0", System_information, 1, "its own key keeps it"}, {"f2"}});
    EXPECT_TRUE(left());
    EXPECT_EQ(keylink.load(), &SysLink[5]) << "and the key has worked";
    for (int key = 2; key < soft_keys; ++key) {
        shown();
        Press({soft(key)});
        EXPECT_TRUE(left()) << key;
    }
    for (const std::int32_t code : {key_system, key_frequency, key_file}) {
        shown();
        Press({code});
        EXPECT_TRUE(left()) << code;
    }
    shown();
    Press({key_quick_save});
    EXPECT_EQ(System_information, 1);
    keylink = &SysLink[14];
    SysLink[14].disabled.fill(0);
    Walk({{"f0", System_information, 1}, {"f6"}});
    EXPECT_TRUE(left());
    Walk({{"", SysLink[0]}, {"f6 f3 f0", System_information, 1}, {"", SysLink[10]}, {"f6"}});
    EXPECT_TRUE(left());
    Walk({{"", SysLink[1]}, {[] { Remote_Flag = 1; }}, {[] { System_information = 1; }}});
    keylink = &SysLink[0];
    Press({soft(4)});
    EXPECT_EQ(System_information, 1) << "not under remote control";
}

class Web_Password : public System_Menu {
protected:
    void SetUp() override {
        System_Menu::SetUp();
        root.Write("/opt/KVA720/webpasswd", "secret\n");
        Recall_Web_Password();
        Press({key_system, soft(2), soft(2), soft(1)});
        ASSERT_EQ(keylink.load(), &SysLink[23]);
        ASSERT_EQ(Name_Entry_Open, Name_Entry::web_password);
    }
    std::string Stored() { return root.Read("/opt/KVA720/webpasswd"); }
};

TEST_F(Web_Password, IsTypedWithKnobAndDigitsAndStoredByEnter) {
    Walk({{"", [&] { return Name_Typed(); }, "secret"},
          {"f2 > >> right f0 < right", [&] { return Name_Typed(); }, "D.",
           "D by knob, then the last of the small letters' ring"},
          {"42 B enter", [&] { return Stored(); }, "D.4\n"},
          {"", [&] { return System_Information_Data.web_password; }, "D.4"}, {"", SysLink[0]},
          {"", Name_Entry_Open, Name_Entry::none}, {"7", [&] { return Name_Typed(); }, "D.4"}});
}

TEST_F(Web_Password, IsStoredByItsKeyAndEmptyTakesItAway) {
    Walk({{"f2 f3", [&] { return Stored(); }, "\n"}, {"", [&] { return System_Information_Data.web_password; }, ""}});
    Recall_Web_Password();
    EXPECT_EQ(System_Information_Data.web_password, "");
}

TEST_F(Web_Password, IsAbandonedByAnyHardKeyAndByReturn) {
    Type("99");
    System_Information_Data.web_password = "spoilt";
    Walk({{"SPAN", Name_Entry_Open, Name_Entry::none},
          {"", [&] { return System_Information_Data.web_password; }, "secret", "read again"},
          {"", [&] { return Stored(); }, "secret\n"}, {"SYSTEM f2 f2 f1", [&] { return Name_Typed(); }, "secret"},
          {"1 f6 enter", SysLink[13]}, {"", [&] { return Stored(); }, "secret\n"}});
}

TEST_F(System_Menu, TheHislipPortIsStoredAndReadBackAndAnUnreadableOneIsTheStandard) {
    const char* const file = "/opt/KVA720/hislip_port";
    EXPECT_EQ(Hislip_Port(), 4880) << "no file";
    std::filesystem::create_directories(platform::Rooted("/opt/KVA720"));
    EXPECT_TRUE(Set_Hislip_Port(5000));
    EXPECT_EQ(root.Read(file), "HISLIP Port:5000\n");
    EXPECT_EQ(Hislip_Port(), 5000);
    for (const int port : {0, -1, 65536}) EXPECT_FALSE(Set_Hislip_Port(port));
    EXPECT_EQ(SCPI_ErrorPop(scpi_context), 434);
    EXPECT_EQ(Hislip_Port(), 5000);
    root.Write(file, "HISLIP Port:6000");
    EXPECT_EQ(Hislip_Port(), 6000);
    for (const char* text : {"", "\n", "5000", "HISLIP Port:", "HISLIP Port:0\n", "HISLIP Port:65536\n", "HISLIP Port:-5\n",
                             "HISLIP Port:123456\n", "HISLIP Port:50x\n", "HISLIP Port:x\n"}) {
        root.Write(file, text);
        EXPECT_EQ(Hislip_Port(), 4880) << text;
    }
}

TEST_F(System_Menu, TheLanResetPutsPortAndPasswordBack) {
    root.Write("/opt/KVA720/hislip_port", "HISLIP Port:5000\n");
    root.Write("/opt/KVA720/webpasswd", "secret\n");
    Recall_Web_Password();
    Press({key_system, soft(2), soft(0), soft(5)});
    ASSERT_EQ(keylink.load(), &SysLink[22]);
    Walk({{"", [&] { return Hislip_Port(); }, 5000}, {"f0", SysLink[5]}, {"", [&] { return Hislip_Port(); }, 4880},
          {"", [&] { return System_Information_Data.web_password; }, ""}});
    SCPI_ErrorClear(scpi_context);
    std::filesystem::remove_all(platform::Rooted("/opt/KVA720"));
    root.Write("/opt/KVA720", "no folder");
    Walk({{"SYSTEM f2 f0 f5 f0", [&] { return SCPI_ErrorPop(scpi_context); }, 436},
          {"", [&] { return SCPI_ErrorPop(scpi_context); }, 435}});
}

TEST_F(System_Menu, QuickSaveWritesAPictureOfTheScreenUnderAFreeName) {
    std::vector<std::byte> video(std::size_t{800} * 600 * 3), text(std::size_t{800} * 600 * 2);
    fbVid0 = {.memory = video.data(), .width = 800, .height = 600, .bits = 24, .line = 2400, .size = 1'440'000};
    fbOsd0 = {.memory = text.data(), .width = 800, .height = 600, .bits = 16, .line = 1600, .size = 960'000};
    display::Fill(fbVid0, {0, 0, 800, 600}, {200, 40, 40});
    display::Fill(fbOsd0, {100, 100, 300, 300}, {40, 200, 40});
    Press({key_span, soft(0), '4', key_quick_save, key_quick_save});
    fbVid0 = fbOsd0 = {};
    Walk({{"", NumLink[0], "the page stays"}, {"", AllKeyVar.count, 1, "and the number that is being typed"}});
    for (const char* name : {"/mnt/nand/screen/SCREEN0001.JPG", "/mnt/nand/screen/SCREEN0002.JPG"}) {
        std::filesystem::create_directories(platform::Rooted("/mnt/nand/picture"));
        const std::string file = root.Read(name);
        ASSERT_FALSE(file.empty()) << name;
        root.Write("/mnt/nand/picture/saved.jpg", file);
        std::vector<std::uint8_t> pixels(std::size_t{800} * 600 * 3);
        ASSERT_TRUE(Load_Picture("saved.jpg", 800, 600, pixels));
        const auto near = [&](int x, int y, std::array<int, 3> colour) {
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_NEAR(pixels[static_cast<std::size_t>(y * 800 + x) * 3 + i], colour[i], 8) << x << ' ' << y;
            }
        };
        near(20, 20, {200, 40, 40});
        near(250, 250, {40, 200, 40});
        near(795, 595, {200, 40, 40});
    }
    std::filesystem::remove_all(platform::Rooted("/mnt/nand/screen"));
    root.Write("/mnt/nand/screen", "a file in the way");
    testing::internal::CaptureStderr();
    Press({key_quick_save});
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

/// What can be told of all pages from their tables.
class Page_Tables : public System_Menu {
protected:
    template <class Visit>
    static void Visit_All(Visit visit) {
        const auto all = [&](auto& pages) {
            for (Menu_Page& page : pages) visit(page);
        };
        all(FreqLink), all(SpanLink), all(AmpLink), all(AutosetLink), all(BWLink), all(MeasLink), all(TraLink);
        all(DisplayLink), all(SweepLink), all(EMCLink), all(LimitlineLink), all(TriggerLink), all(FileLink);
        all(SaveLink), all(RecallLink), all(MarkerLink), all(MarkertoLink), all(PeakSearchLink), all(SeqLink);
        all(ModeLink), all(SysLink);
    }
};

TEST_F(Page_Tables, EverySubPageHasItsWayInAndItsWayOut) {
    std::vector<const Menu_Page*> opened{&FreqLink[0], &SpanLink[0], &AmpLink[0], &AutosetLink[0], &BWLink[0],
                                         &MeasLink[0], &TraLink[0], &DisplayLink[0], &SweepLink[0], &EMCLink[0],
                                         &LimitlineLink[0], &TriggerLink[0], &FileLink[0], &SaveLink[0],
                                         &RecallLink[0], &MarkerLink[0], &MarkertoLink[0], &PeakSearchLink[0],
                                         &SeqLink[0], &ModeLink[0], &SysLink[0]};
    const auto tops = opened;
    const auto is_return = [](const Menu_Page& page) { return page.label[6] == En(keys::enReturn); };
    Visit_All([&](Menu_Page& page) {
        for (std::size_t key = 0; key < soft_keys; ++key) {
            if (!page.opens[key]) continue;
            EXPECT_TRUE(page.label[key]);
            EXPECT_TRUE(page.opens[key]->title) << "no page is blank";
            if (!(key == 6 && is_return(page))) opened.push_back(page.opens[key]);
        }
    });
    int pages = 0;
    Visit_All([&](Menu_Page& page) {
        if (!page.title) {
            for (const auto* label : page.label) EXPECT_FALSE(label);
            return;
        }
        ++pages;
        EXPECT_TRUE(page.layer);
        const bool top = std::ranges::find(tops, &page) != tops.end();
        EXPECT_TRUE(!is_return(page) || page.opens[6] || page.back);
        const bool more = page.label[6] == En(keys::enMoreTwo);
        EXPECT_TRUE(top || is_return(page) || more);
        EXPECT_TRUE(!page.parent || page.parent == page.opens[6]);
        const auto* in_array = &page;
        const bool by_itself = in_array == &FileLink[12] || in_array == &SaveLink[13] ||
                               (in_array >= &SaveLink[3] && in_array <= &SaveLink[7]) || in_array == &SaveLink[9] ||
                               (in_array >= &RecallLink[3] && in_array <= &RecallLink[6]) ||
                               in_array == &FileLink[9] || in_array == &SysLink[17];
        const bool reached = std::ranges::find(opened, &page) != opened.end();
        EXPECT_TRUE(reached || by_itself);
    });
    EXPECT_EQ(pages, 204);
}

TEST_F(Page_Tables, AWayToPagesWithoutEffectIsGreyed) {
    EXPECT_EQ(AmpLink[0].disabled, (std::array<std::uint32_t, 7>{}));
    EXPECT_EQ(AmpLink[2].disabled, (std::array<std::uint32_t, 7>{0, 0, 0, 1, 0, 0, 0})) << "no corrections are kept";
    EXPECT_EQ(SysLink[0].disabled[2], 0U) << "there are interfaces to set";
    EXPECT_EQ(SysLink[5].disabled, (std::array<std::uint32_t, 7>{0, 1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(SysLink[10].disabled, (std::array<std::uint32_t, 7>{0, 1, 0, 0, 0, 0, 0}));
    Visit_All([](Menu_Page& page) {
        EXPECT_TRUE(page.label[6] != En(keys::enReturn) || page.disabled[6] == 0) << "the way back is open";
    });
}

TEST_F(Page_Tables, APageThatManyOpenReturnsToTheOneItCameFrom) {
    for (Menu_Page* from : {&MeasLink[16], &MeasLink[32], &MeasLink[26]}) {
        for (std::size_t key = 0; key < 6; ++key) {
            if (!from->opens[key] || !from->opens[key]->back) continue;
            Show_Page(*from);
            Menu_Page* opened = from->opens[key];
            ASSERT_TRUE(menus::Open_Page_Of(static_cast<int>(key)));
            ASSERT_EQ(keylink.load(), opened);
            ASSERT_TRUE(menus::Open_Page_Of(6));
            EXPECT_EQ(keylink.load(), from);
        }
    }
}

}  // namespace

#include "app/start_up.h"

#include <array>
#include <cstdio>
#include <mutex>

#include "app/remote_base.h"
#include "app/workers.h"
#include "display/draw.h"
#include "display/layers.h"
#include "display/pictures.h"
#include "display/text.h"
#include "emc/emc.h"
#include "files/state.h"
#include "keys/handlers.h"
#include "keys/language.h"
#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/reader.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "keys/words.h"
#include "measure/measure.h"
#include "platform/i2c.h"
#include "platform/sample_memory.h"
#include "platform/shell.h"
#include "records/analysis.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/normalisation.h"
#include "records/sys.h"
#include "records/trace.h"
#include "remote/gpib.h"
#include "remote/server.h"
#include "scpi/commands/table.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "sequence/sequence.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "sweep/trigger.h"
#include "system/settings.h"
#include "system/status_icons.h"
#include "system/system.h"
#include "trace/acquisition.h"
#include "trace/corrections.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "trace/plot.h"
#include "trace/views.h"

namespace {

constexpr int full_width = screen_width, full_height = screen_height;

void Identify() {
    Sys_Init();
    KVA720_ATTR_INST_MODEL = IdentificationQuery();
}

void Load_Face(int number, FT_Library library, FT_Face& face) {
    if (load_font_face(number, library, face) != 0) {
        std::printf("\r\nload font fail!!!\r\n");
        return;
    }
    FT_Select_Charmap(face, FT_ENCODING_UNICODE);
}

int Load_Fonts() {
    for (FT_Library* library : {&pFTLibARIABOLD, &pFTLibARIA, &pFTLibNI7SEG}) {
        if (FT_Init_FreeType(library) != 0) return -1;
    }
    Load_Face(face_bold, pFTLibARIABOLD, pFTFaceARIABOLD);
    Load_Face(face_regular, pFTLibARIA, pFTFaceARIA);
    Load_Face(face_seven_segment, pFTLibNI7SEG, pFTFaceNI7SEG);
    return 0;
}

void Open_Layers() {
    constexpr std::uint32_t opaque = 7;
    fb_init(fbOsd0, "/dev/fb/0", full_width, full_height, 16);
    fb_init(fbVid0, "/dev/fb/1", full_width, full_height, 24);
    fb_init_ohter(fbVid1, "/dev/fb/3", full_width, full_height, 16);
    fb_endisable_att(fbOsd0, false);
    fb_blend_set(fbOsd0, opaque);
}

void Start_Core() { CMEM_setup(LOOP_Main("dsp_loop_new.out", "2048", "1")); }

void Show_First_Screen() {
    constexpr std::uint32_t blend_mode = 2;
    bottom_init(fbVid0);
    Show_Picture(picture_background, full_width, full_height, 0, 0, target_video0);
    if (check_logo != 1) Show_Picture(picture_logo, 135, 21, 2, 2, target_video0);
    window_display(fbVid0);
    display::Clear(fbOsd0, {0, 0, full_width, full_height});
    window_display(fbOsd0);
    fb_win_position(fbVid0, 0, 0);
    fb_endisable_win(fbVid0, true);
    fb_endisable_win(fbOsd0, true);
    fb_init(fbOsd1, "/dev/fb/2", full_width, full_height, 16);
    fb_endisable_att(fbOsd1, false);
    fb_blend_setattr(fbOsd1, blend_mode);
    window_display(fbOsd1);
    Show_Start_Picture(picture_start_first);
    systeminit.store(1, std::memory_order_release);
}

/// The notice after a recovery is shown once: its mark is taken back.
void Show_Recovery_Notice() {
    if (platform::Run_Command("grep -q '1' /opt/KVA720/recoverydonever") != 0) return;
    ThirdAttentionwords(25);
    platform::Run_Command("sed -i '1c 0' /tmp/recoverydonever");
    platform::Run_Command("cp /tmp/recoverydonever /opt/KVA720/");
}

void osd_init() { Draw_Model(); }

void Initialise_Areas() {
    osd_init();
    Amp_ArrayInit();
    EMI_Init_init();
    limitline_init();
    PeakSearch_Init();
    Marker_Init();
    Markerto_Init();
    Display_Init();
    Sequence_Init();
    meas_init();
    BW_Init();
    Sweep_Init();
    Trigger_Init();
}

void Report_Word_List_Version() {
    if (Checkversion != 1) return;
    SCPI_ErrorPush(scpi_context, 420);
    ThirdAttentionwords(21);
}

/// Settings of the half of the split display that the next steps work on.
void set_screenchagne_parameter(int, int screen) { ScreenActive = screen == 1 ? 0 : ScreenActive; }

void Open_Limit_Lines() {
    set_screenchagne_parameter(0, 0);
    LimitlineScreen = 1;
    LimitLine_Init_For_Opening();
    set_screenchagne_parameter(0, 1);
    LimitlineScreen = 0;
    Corr_Init_For_Opening();
    Ext_Frame();
}

/// A normalisation that was on is measured again, never taken from the stale reference.
void Reset_Normalisation() {
    if (!Sys_Data.tracking_normalised) return;
    TG_Pos_Diff_Value = 0;
    Check_TG_Normalize = Check_Sweep_Again = CheckNormInit = 1;
    Normalisation_Trace.fill(0);
}

void Recall_State(const char* path) {
    if (Recall_Lostate_ForLocal(path, 0)) Reset_Normalisation();
    Display_all_icon();
    Ext_Frame();
    Redraw_Keys();
    Draw_Status_Blocks();
    Send_Trigger_Settings();
    LOOP_SetTrans_Var();
}

void Recall_Power_On_State() {
    if (POWER_On == 1) {
        Recall_State("/mnt/nand/state.sta");
    } else if (POWER_On == 0 && Sys_Data.user_preset == 1) {
        Recall_State("/mnt/nand/UserPrset1.sta");
    }
}

void Start_Interface_Settings() {
    GPIB_Address_Changed();
    Usb_init_flag.store(1, std::memory_order_release);
    SetsystemtimeFlag.store(1, std::memory_order_release);
}

}  // namespace

void GPIB_Address_Changed() { remote::Hand_Over_Gpib_Address(Sys_Data.gpib_address); }

void Show_Start_Picture(int number) { Show_Picture(number, 210, 180, 205, 193, target_osd0); }

void init_sys() {
    systeminit.store(0, std::memory_order_release);  // 1
    Calibration_counter = 999999;
    Recall_weektime();
    Set_weektime();
    numKey_init(0, 3);  // 2
    numKey_init(1, 3);
    numKey_init(3, 1);
    numKey_init(4, 3);
    mode_str_init();
    Open_Layers();         // 3
    Start_Core();          // 4
    Show_First_Screen();   // 5
    Recall_Language();  // 6
    parse_txt_file(Word_List_Path(Language));
    Sys_Init_Cal();  // 7
    Freqs_ArrayInit();
    keylink.store(&FreqLink[0], std::memory_order_release);
    Freq_HwKey();
    pwm_init();
    Show_Recovery_Notice();  // 8
    Init_readOutfile();      // 9
    Calibration_counter = 0;
    Hand_Over_Corrections();
    Initialise_Areas();  // 10
    for (const int which : {1, 2, 3}) show_DSPTGRF_Ver(which);  // 11
    Append_Application_Version();
    blocktwo_str_init();
    set_screenchagne_parameter(0, 1);
    Ext_Frame();
    Scan_USB();  // 12
    num_queue_init();
    for (int number = 4; number >= 0; --number) Recall_Sequence(number);
    Report_Word_List_Version();  // 13
    Sys_Data.sweep_setting_working = Sys_Data.sweep_setting;  // 14
    LOOP_SetTrans_Var();
}

int Start_Up() {
    const std::lock_guard records(Command_Main_Mutex);
    Reset_Pages();
    Recall_Settings();
    Recall_Web_Password();
    Init_Spectrogram();   // 1
    Commands_Init();
    if (!Start_Remote_Base()) return 2;  // 2
    Identify();           // 3
    init_i2c();           // 4
    Start_Worker(Worker::check);  // 5
    if (Load_Fonts() != 0) return -1;  // 6
    init_sys();  // 7
    Init_Trace_Data();  // 8
    Display_all_icon();
    Trace_Second_Flag = 1;
    Init_TopographicData();
    Start_Web_Server();       // 9
    Open_Limit_Lines();       // 10
    Recall_Power_On_State();  // 11
    Start_Interface_Settings();  // 12
    for (const Worker worker : {Worker::check_rtc, Worker::readkey, Worker::fpga_int, Worker::check_RJ45}) {  // 13
        Start_Worker(worker);
    }
    Check_wakeuptime();  // 14
    write_rtc_control();
    init_audio();
    GetOsName();
    Start_Worker(Worker::halt_sys);  // 15
    Start_Worker(Worker::check_QP);
    return 0;
}

void Shut_Down() {
    remote::Close_Ports();
    platform::Close_I2c(fd_i2c);
    fd_i2c = -1;
    if (LOOP_Buffers) LOOP_Delete();
    if (DSP_Trace_Data) platform::Unmap_Sample_Memory(DSP_Trace_Data);
    DSP_Trace_Data = nullptr;
    for (Frame_Descriptor* layer : {&fbOsd0, &fbVid0, &fbOsd1, &fbVid1}) fb_free(*layer);
    for (FT_Library* library : {&pFTLibARIABOLD, &pFTLibARIA, &pFTLibNI7SEG}) {
        if (*library) FT_Done_FreeType(*library);
        *library = nullptr;
    }
    pFTFaceARIABOLD = pFTFaceARIA = pFTFaceNI7SEG = nullptr;
}

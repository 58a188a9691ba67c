#include "records/reset.h"

#include "records/amp.h"
#include "records/analysis.h"
#include "records/autoset.h"
#include "records/bw.h"
#include "records/channel.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/limit.h"
#include "records/measurement.h"
#include "records/normalisation.h"
#include "records/preamplifier.h"
#include "records/recording.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records/trace.h"
#include "records/trigger.h"

namespace {

void Reset_Handover() {
    for (auto* flag : {&systeminit, &shutdown_flag, &Remote_Flag, &Local_Lockouts, &RecallFormCommand, &RecallMenuState,
                       &USBButtonOnOff_Flag, &RecallAfterRemoveDeviceFlag, &Pending_Operation_Flag,
                       &Pending_Operation_Flag_check, &Command_Opc_Flag, &Command_Query_Opc_Flag, &SweepSingle_Data,
                       &DSP_Trigger_Flag, &Usb_init_flag, &SetsystemtimeFlag}) {
        *flag = 0;
    }
    for (Recording_Record* recording : {&RecordData_IQ, &RecordData_RPhi}) recording->running = recording->armed = 0;
    GetIQCounter = 0;
    FPGA_Int_Fd = -1;
    Keypad_Flag = 0;
    Web_Keyin_Flag = 0;
    Web_Keyin_Value.read = 0;
    Web_Keyin_Value.write = 0;
}

void Reset_Limits() {
    for (Limit_Line& line : Limit_Lines) {
        line.shown = 1;
        line.count = 0;
        line.first = line.last = nullptr;
        line.pool.fill({});
        line.pixel.fill({});
    }
    Limit_Test = {};
    PassCriterion = criterion_trace;
    Marker_Limit_Frequency = Marker_Limit_Level = 0;
    PassFailTestRange = {};
    PassFail_HighYPixel.fill(above_screen);
    PassFail_LowYPixel.fill(below_screen);
}

}  // namespace

void Reset_Records() {
    Reset_Handover();
    Freqs = {};
    stepautoman = {};
    ScreenActive = 0;
    MAXFREQUENCY = 3'250'050'000;
    MAXSPAN = 3'250'000'000;
    Amp = {};
    BW_Data = {};
    BW_RBW_Mode = {};
    Sweep_Data = {};
    Trigger_Data = {};
    Trigger_Waiting_Since = -1;
    Trigger_Wait_Shown = 0;
    Measurement_Data = {};
    Demodulation_Data = {};
    Preamplifier_Calibration = {};
    Trace_Data = {};
    ScreenInf = {};
    Single_Trace_DBM = {};
    Spectrogram_NowLogValue = {};
    AvgType = AVERLAG = 0;
    MATHFLAG = math_off;
    TraceMath = {};
    Log_Ref = -50;
    Max_Hold_Restart = 1;
    Hold_Level_Shown = 0;
    Screen_Swept = 0;
    Trace_Second_Flag = 0;
    Display_Data = {};
    Sys_Data = {};
    System_Information_Data = {};
    POWER_On = 1;
    Language = 0;
    KVA720_ATTR_INST_MODEL = 1;
    USB_Select = 0;
    Calibration_counter = 0;
    System_information = 0;
    Checkversion = 0;
    check_logo = 0;
    FunctionMode_Flag = FunctionMode_Flag_For_File = mode_spectrum;
    Global_Table = Global_Table_Flag_For_File = 0;
    Sequence_runnow_flag = SEQCAL_Flag = PmetRemoteJudgeFlag = PowerSensor_Insert = Run_AuotSet_flag = 0;
    EMC_Data = {};
    Channel_Data = {};
    Autoset_Data = {};
    attention_notice = 0;
    AllKeyVar = {};
    Keypad_AllKeyVarunitype = 0;
    numberIndex = Keypad_Keyin_Type_Lock = HWkeyIdx = Keylink_HwInit = Keylink_SwInit = 0;
    FLAG_BLOCK_MINUS_KEY = 1;
    Check_warning = Check_block3 = Marker_Limit_Two_Point = Near_DC_Search_Flag = 0;
    Name_Entry_Open = Name_Entry::none;
    Marker_Data = {};
    Marker_NoiseValue = Marker_Delta_NoiseValue = {};
    Peak_Data = {};
    Peak_Excludenum = 0;
    TG_Pos_Diff_Value = Check_TG_Normalize = Check_Sweep_Again = CheckNormInit = 0;
    Normalisation_Trace = {};
    Reset_Limits();
    LimitlineScreen = SetFreqScaleRedraw = Trace_Gain_Correction = 0;
}

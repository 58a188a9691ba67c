#include <array>

#include "records/freqs.h"
#include "records/trace.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "trace/trace_settings.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

/// RAVerage is another word for AVERage, and VIDeo for LOG; the first of a tag is answered.
constexpr ScpiChoiceDef detector_words[] = {
    {"NORMal", detector_normal},        {"POSitive", detector_positive}, {"NEGative", detector_negative},
    {"SAMPle", detector_sample},        {"AVERage", detector_average},   {"RAVerage", detector_average},
    {"EAVerage", detector_emi_average}, {"QPEak", detector_quasi_peak},  {nullptr, 0}};
constexpr ScpiChoiceDef type_words[] = {
    {"LOG", average_log}, {"VOLTage", average_voltage}, {"POWer", average_power}, {"VIDeo", average_log}, {nullptr, 0}};

const Trace_Record& Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }
std::size_t Trace() { return Record().active & 3; }

int Sense_Detector(ScpiContext& context) { return Set_Choice(context, detector_words, Set_Detector); }
int Sense_DetectorQ(ScpiContext& context) { return Answer_Choice(context, detector_words, Record().detector[Trace()]); }
int Sense_DetectorAuto(ScpiContext& context) { return Set_On_Off(context, Set_Detector_Auto); }
int Sense_DetectorAutoQ(ScpiContext& context) {
    return Answer_On_Off(context, Record().detector_choice[Trace()] == detector_auto);
}

int Sense_AverageCount(ScpiContext& context) {
    return Set_Integer(context, [](std::int32_t number) { return Set_Average_Number(typed, number); });
}
int Sense_AverageCountQ(ScpiContext& context) { return Answer_Integer(context, Record().average_number[Trace()]); }
int Sense_AverageState(ScpiContext& context) { return Set_On_Off(context, Set_Average); }
int Sense_AverageStateQ(ScpiContext& context) { return Answer_On_Off(context, Record().average_on[Trace()] != 0); }
int Sense_AverageType(ScpiContext& context) { return Set_Choice(context, type_words, Set_Average_Type); }
int Sense_AverageTypeQ(ScpiContext& context) { return Answer_Choice(context, type_words, AvgType); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:DETector[:FUNCtion]?", Sense_DetectorQ},
    {"[:SENSe]:DETector[:FUNCtion]", Sense_Detector},
    {"[:SENSe]:DETector[:FUNCtion]:AUTO?", Sense_DetectorAutoQ},
    {"[:SENSe]:DETector[:FUNCtion]:AUTO", Sense_DetectorAuto},
    {"[:SENSe]:AVERage:COUNt", Sense_AverageCount},
    {"[:SENSe]:AVERage:COUNt?", Sense_AverageCountQ},
    {"[:SENSe]:AVERage:STATe", Sense_AverageState},
    {"[:SENSe]:AVERage:STATe?", Sense_AverageStateQ},
    {"[:SENSe]:AVERage:TYPE", Sense_AverageType},
    {"[:SENSe]:AVERage:TYPE?", Sense_AverageTypeQ},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Detector() { return rows; }

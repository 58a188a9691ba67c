#include "scpi/status.h"

#include <array>

#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"

namespace {

using namespace shapes;

/// Event registers are not cleared by being read.
template <std::size_t index>
int Answer(ScpiContext& context) {
    return Answer_Integer(context, static_cast<std::int32_t>(SCPI_RegGet(context, index)));
}

/// Stored without range check.
template <std::size_t index>
int Store(ScpiContext& context) {
    const auto store = [&](std::int32_t value) { SCPI_RegSet(context, index, static_cast<std::uint32_t>(value)); };
    return Set_Integer(context, store);
}

int Status_Preset(ScpiContext& context) {
    return Event(context, [&] { SCPI_StatusPreset(context); }, While_Busy::allowed);
}

constexpr auto Status_OperationConditionQ = Answer<reg_operation + set_condition>;
constexpr auto Status_OperationEnable = Store<reg_operation + set_enable>;
constexpr auto Status_OperationEnableQ = Answer<reg_operation + set_enable>;
constexpr auto Status_OperationEventQ = Answer<reg_operation + set_event>;
constexpr auto Status_OperationNtransition = Store<reg_operation + set_negative>;
constexpr auto Status_OperationNtransitionQ = Answer<reg_operation + set_negative>;
constexpr auto Status_OperationPtransition = Store<reg_operation + set_positive>;
constexpr auto Status_OperationPtransitionQ = Answer<reg_operation + set_positive>;

constexpr auto Status_QuestionableConditionQ = Answer<reg_questionable + set_condition>;
constexpr auto Status_QuestionableEnable = Store<reg_questionable + set_enable>;
constexpr auto Status_QuestionableEnableQ = Answer<reg_questionable + set_enable>;
constexpr auto Status_QuestionableEventQ = Answer<reg_questionable + set_event>;
constexpr auto Status_QuestionableNtransition = Store<reg_questionable + set_negative>;
constexpr auto Status_QuestionableNtransitionQ = Answer<reg_questionable + set_negative>;
constexpr auto Status_QuestionablePtransition = Store<reg_questionable + set_positive>;
constexpr auto Status_QuestionablePtransitionQ = Answer<reg_questionable + set_positive>;

constexpr auto Status_QuestionableAcplimitConditionQ = Answer<reg_questionable_acplimit + set_condition>;
constexpr auto Status_QuestionableAcplimitEnable = Store<reg_questionable_acplimit + set_enable>;
constexpr auto Status_QuestionableAcplimitEnableQ = Answer<reg_questionable_acplimit + set_enable>;
constexpr auto Status_QuestionableAcplimitEventQ = Answer<reg_questionable_acplimit + set_event>;
constexpr auto Status_QuestionableAcplimitNtransition = Store<reg_questionable_acplimit + set_negative>;
constexpr auto Status_QuestionableAcplimitNtransitionQ = Answer<reg_questionable_acplimit + set_negative>;
constexpr auto Status_QuestionableAcplimitPtransition = Store<reg_questionable_acplimit + set_positive>;
constexpr auto Status_QuestionableAcplimitPtransitionQ = Answer<reg_questionable_acplimit + set_positive>;

constexpr auto Status_QuestionableFrequencyConditionQ = Answer<reg_questionable_frequency + set_condition>;
constexpr auto Status_QuestionableFrequencyEnable = Store<reg_questionable_frequency + set_enable>;
constexpr auto Status_QuestionableFrequencyEnableQ = Answer<reg_questionable_frequency + set_enable>;
constexpr auto Status_QuestionableFrequencyEventQ = Answer<reg_questionable_frequency + set_event>;
constexpr auto Status_QuestionableFrequencyNtransition = Store<reg_questionable_frequency + set_negative>;
constexpr auto Status_QuestionableFrequencyNtransitionQ = Answer<reg_questionable_frequency + set_negative>;
constexpr auto Status_QuestionableFrequencyPtransition = Store<reg_questionable_frequency + set_positive>;
constexpr auto Status_QuestionableFrequencyPtransitionQ = Answer<reg_questionable_frequency + set_positive>;

constexpr auto Status_QuestionableSemlimitConditionQ = Answer<reg_questionable_semlimit + set_condition>;
constexpr auto Status_QuestionableSemlimitEnable = Store<reg_questionable_semlimit + set_enable>;
constexpr auto Status_QuestionableSemlimitEnableQ = Answer<reg_questionable_semlimit + set_enable>;
constexpr auto Status_QuestionableSemlimitEventQ = Answer<reg_questionable_semlimit + set_event>;
constexpr auto Status_QuestionableSemlimitNtransition = Store<reg_questionable_semlimit + set_negative>;
constexpr auto Status_QuestionableSemlimitNtransitionQ = Answer<reg_questionable_semlimit + set_negative>;
constexpr auto Status_QuestionableSemlimitPtransition = Store<reg_questionable_semlimit + set_positive>;
constexpr auto Status_QuestionableSemlimitPtransitionQ = Answer<reg_questionable_semlimit + set_positive>;

constexpr auto Status_QuestionableToilimitConditionQ = Answer<reg_questionable_toilimit + set_condition>;
constexpr auto Status_QuestionableToilimitEnable = Store<reg_questionable_toilimit + set_enable>;
constexpr auto Status_QuestionableToilimitEnableQ = Answer<reg_questionable_toilimit + set_enable>;
constexpr auto Status_QuestionableToilimitEventQ = Answer<reg_questionable_toilimit + set_event>;
constexpr auto Status_QuestionableToilimitNtransition = Store<reg_questionable_toilimit + set_negative>;
constexpr auto Status_QuestionableToilimitNtransitionQ = Answer<reg_questionable_toilimit + set_negative>;
constexpr auto Status_QuestionableToilimitPtransition = Store<reg_questionable_toilimit + set_positive>;
constexpr auto Status_QuestionableToilimitPtransitionQ = Answer<reg_questionable_toilimit + set_positive>;

constexpr auto rows = std::to_array<ScpiCommand>({
    {":STATus:PRESet", Status_Preset},
    {":STATus:OPERation:CONDition?", Status_OperationConditionQ},
    {":STATus:OPERation:ENABle", Status_OperationEnable},
    {":STATus:OPERation:ENABle?", Status_OperationEnableQ},
    {":STATus:OPERation[:EVENt]?", Status_OperationEventQ},
    {":STATus:OPERation:NTRansition", Status_OperationNtransition},
    {":STATus:OPERation:NTRansition?", Status_OperationNtransitionQ},
    {":STATus:OPERation:PTRansition", Status_OperationPtransition},
    {":STATus:OPERation:PTRansition?", Status_OperationPtransitionQ},
    {":STATus:QUEStionable:CONDition?", Status_QuestionableConditionQ},
    {":STATus:QUEStionable:ENABle", Status_QuestionableEnable},
    {":STATus:QUEStionable:ENABle?", Status_QuestionableEnableQ},
    {":STATus:QUEStionable[:EVENt]?", Status_QuestionableEventQ},
    {":STATus:QUEStionable:NTRansition", Status_QuestionableNtransition},
    {":STATus:QUEStionable:NTRansition?", Status_QuestionableNtransitionQ},
    {":STATus:QUEStionable:PTRansition", Status_QuestionablePtransition},
    {":STATus:QUEStionable:PTRansition?", Status_QuestionablePtransitionQ},
    {":STATus:QUEStionable:ACPLimit:CONDition?", Status_QuestionableAcplimitConditionQ},
    {":STATus:QUEStionable:ACPLimit:ENABle", Status_QuestionableAcplimitEnable},
    {":STATus:QUEStionable:ACPLimit:ENABle?", Status_QuestionableAcplimitEnableQ},
    {":STATus:QUEStionable:ACPLimit[:EVENt]?", Status_QuestionableAcplimitEventQ},
    {":STATus:QUEStionable:ACPLimit:NTRansition", Status_QuestionableAcplimitNtransition},
    {":STATus:QUEStionable:ACPLimit:NTRansition?", Status_QuestionableAcplimitNtransitionQ},
    {":STATus:QUEStionable:ACPLimit:PTRansition", Status_QuestionableAcplimitPtransition},
    {":STATus:QUEStionable:ACPLimit:PTRansition?", Status_QuestionableAcplimitPtransitionQ},
    {":STATus:QUEStionable:FREQuency:CONDition?", Status_QuestionableFrequencyConditionQ},
    {":STATus:QUEStionable:FREQuency:ENABle", Status_QuestionableFrequencyEnable},
    {":STATus:QUEStionable:FREQuency:ENABle?", Status_QuestionableFrequencyEnableQ},
    {":STATus:QUEStionable:FREQuency[:EVENt]?", Status_QuestionableFrequencyEventQ},
    {":STATus:QUEStionable:FREQuency:NTRansition", Status_QuestionableFrequencyNtransition},
    {":STATus:QUEStionable:FREQuency:NTRansition?", Status_QuestionableFrequencyNtransitionQ},
    {":STATus:QUEStionable:FREQuency:PTRansition", Status_QuestionableFrequencyPtransition},
    {":STATus:QUEStionable:FREQuency:PTRansition?", Status_QuestionableFrequencyPtransitionQ},
    {":STATus:QUEStionable:SEMLimit:CONDition?", Status_QuestionableSemlimitConditionQ},
    {":STATus:QUEStionable:SEMLimit:ENABle", Status_QuestionableSemlimitEnable},
    {":STATus:QUEStionable:SEMLimit:ENABle?", Status_QuestionableSemlimitEnableQ},
    {":STATus:QUEStionable:SEMLimit[:EVENt]?", Status_QuestionableSemlimitEventQ},
    {":STATus:QUEStionable:SEMLimit:NTRansition", Status_QuestionableSemlimitNtransition},
    {":STATus:QUEStionable:SEMLimit:NTRansition?", Status_QuestionableSemlimitNtransitionQ},
    {":STATus:QUEStionable:SEMLimit:PTRansition", Status_QuestionableSemlimitPtransition},
    {":STATus:QUEStionable:SEMLimit:PTRansition?", Status_QuestionableSemlimitPtransitionQ},
    {":STATus:QUEStionable:TOILimit:CONDition?", Status_QuestionableToilimitConditionQ},
    {":STATus:QUEStionable:TOILimit:ENABle", Status_QuestionableToilimitEnable},
    {":STATus:QUEStionable:TOILimit:ENABle?", Status_QuestionableToilimitEnableQ},
    {":STATus:QUEStionable:TOILimit[:EVENt]?", Status_QuestionableToilimitEventQ},
    {":STATus:QUEStionable:TOILimit:NTRansition", Status_QuestionableToilimitNtransition},
    {":STATus:QUEStionable:TOILimit:NTRansition?", Status_QuestionableToilimitNtransitionQ},
    {":STATus:QUEStionable:TOILimit:PTRansition", Status_QuestionableToilimitPtransition},
    {":STATus:QUEStionable:TOILimit:PTRansition?", Status_QuestionableToilimitPtransitionQ},
});

}  // namespace

std::span<const ScpiCommand> families::Status() { return rows; }

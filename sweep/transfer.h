#pragma once
#include <cstdint>

#include "platform/dsp_link.h"

/// The settings transfer: one message of doubles per change, over the link to the signal-processing core.

inline double* LOOP_Buffers = nullptr;          ///< the link buffer; null while the link could not be made
inline std::uint32_t LOOP_NumIterations = 1;    ///< passes of one transfer

/// Starts the link: buffer size and pass count as text. Refuses 65,536 passes or more and an empty buffer.
platform::DSP_STATUS LOOP_Main(const char* image, const char* size_text, const char* iterations_text);
platform::DSP_STATUS LOOP_Create(const char* image, const char* size_text, const char* iterations_text);
/// Sends the buffer and waits for the answer, iterations times. A failure is printed and ends that pass.
platform::DSP_STATUS LOOP_Execute(std::uint32_t iterations);
void LOOP_Delete();

/// Maps the sample memory when the link could be started.
void CMEM_setup(platform::DSP_STATUS link);

/// What every setter of a sweep setting ends with: the transfer that the active mode needs.
void Transfer_Settings();

/// Composes and sends the settings of the active screen; the core starts a new sweep, so its trace counters start again.
void LOOP_SetTrans_Var();

/// Sends the calibration gains of the preamplifier that are in use. All go into one element, so that only the last
/// takes effect.
void LOOP_SetTeans_Preamp();

/// Composes the message of the emission mask's setup. The caller holds the transfer lock.
void get_SEM_Setup();

/// Sends the state of the screen (on or dark, brightness).
void LOOP_SetTrans_Peripheral();

/// Sends the external-trigger state. The caller holds the transfer lock.
void LOOP_SetTrans_Trigger_External();

/// Sends the trigger settings; the core starts a new sweep, or waits for its trigger.
void LOOP_SetTrans_Trigger();

/// The same with the settings of the gate.
void LOOP_SetTrans_Gate_Sweep();

/// Sends trigger and gate settings that have been recalled or preset.
void Send_Trigger_Settings();

/// Re-arms the FPGA interrupt for a sweep that waits. Each transfer that starts a sweep does so.
void Rearm_FPGA_Interrupt();

/// Sends a timer value.
void LOOP_SetTrans_Timer_Control(float value);

/// Sends the earphone's state.
void LOOP_SetTrans_Earphon();

/// Send the settings of a demodulation or of a recording.
void LOOP_SetTrans_Demodulator();
void LOOP_SetTrans_Record_Data();

/// Sends single or continuous sweep; all counters of both screens start again.
void LOOP_SetTrans_Single_Sweep();

/// The table of corrections that start-up hands to the core: 17 values (dB), full span (Hz), model. 17 values or none.
void LOOP_Send_Corrections(const double* values);

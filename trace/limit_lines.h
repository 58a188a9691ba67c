#pragma once
/// Limit lines off; and the lines that were on at power-off, once there are any.
void limitline_init();
void LimitLine_Init_For_Opening();

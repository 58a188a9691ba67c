#pragma once

/// The worker threads.
enum class Worker { check, check_rtc, readkey, fpga_int, check_RJ45, halt_sys, check_QP };

/// Starts a worker for the life of the process.
void Start_Worker(Worker worker);

/// Starts the web server on a stack of its own; prints "The stack failed\n" where there is none, and goes on without it.
void Start_Web_Server();

/// Waits for all workers; the stop has been requested.
void Join_Workers();

/// Start-up picture in the middle of the graticule.
void Show_Start_Picture(int number);

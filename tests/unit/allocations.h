#pragma once

/// How often this thread has asked for memory with new.
unsigned long Allocations_Of_This_Thread();

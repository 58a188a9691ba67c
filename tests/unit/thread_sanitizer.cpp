/// Read by the thread sanitizer. The RPC library puts the padding of opaque data into a static word that nobody reads; tests
/// have a client and a server in one process.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() { return "called_from_lib:libtirpc.so"; }

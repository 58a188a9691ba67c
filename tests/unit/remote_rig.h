#pragma once
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include "connection.h"
#include "records_fixture.h"
#include "remote/hislip.h"
#include "remote/raw_socket.h"
#include "remote/server.h"
#include "scpi/parser.h"
#include "scpi/readers.h"
#include "scpi/wait.h"
#include "scpi/writers.h"

/// The server thread with a table of commands of its own, sweeps that end when the test says so, and stepped time.
class Remote_Rig : public Records {
protected:
    static inline std::atomic<bool> sweep_can_come{true};
    static inline std::atomic<int> resets{0}, last_key{-1}, executed{0};

    void SetUp() override {
        Records::SetUp();
        sweep_can_come = true;
        last_key = -1;
        resets = executed = 0;
        std::filesystem::create_directories(platform::Rooted("/tmp/web_store"));
        scpi_context.commands = commands;
        Prepare();
        Start();
    }
    void TearDown() override {
        Stop();
        Finish();
        scpi_context.commands = nullptr;
        Records::TearDown();
    }
    virtual void Prepare() {}
    virtual void Finish() {}

    void Start() {
        ASSERT_TRUE(remote::Open_Ports({[] { ++resets; }, nullptr, [] { return sweep_can_come.load(); }}, 5, 0));
        ASSERT_TRUE(remote::Open_Raw_Listener("127.0.0.1", 0));
        ASSERT_TRUE(remote::Open_Hislip_Listener("127.0.0.1", 0));
        server_ = std::thread([] { remote::Serve({Take_Key, Take_Setting, No_Power, Tell_State, Tell_Trace}); });
    }
    void Stop() {
        if (!server_.joinable()) return;
        platform::Request_Stop();
        server_.join();
        remote::Close_Ports();
        EXPECT_FALSE(std::filesystem::exists(platform::Rooted("/tmp/web_store/talmiron.sock")));
    }

    static Connection Raw() { return Tcp(remote::Raw_Address()); }
    static Connection Tcp(const std::string& name) { return To_Port(std::stoi(name.substr(name.find(':') + 1))); }
    /// A connection to the port of an old one that says something while no descriptor is to spare for it: served later.
    static Connection Without_Descriptors(const Connection& old, std::string_view bytes,
                                          const std::function<void()>& meanwhile) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlim_t usual = std::exchange(limit.rlim_cur, 100);
        Connection client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        setrlimit(RLIMIT_NOFILE, &limit);
        std::vector<int> eaten;
        for (int taken = dup(client.Descriptor()); taken >= 0; taken = dup(client.Descriptor())) eaten.push_back(taken);
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getpeername(old.Descriptor(), reinterpret_cast<sockaddr*>(&address), &size);
        EXPECT_EQ(connect(client.Descriptor(), reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_TRUE(client.Send(bytes));
        for (int i = 0; i < 50; ++i) meanwhile();
        for (const int descriptor : eaten) close(descriptor);
        limit.rlim_cur = usual;
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_TRUE(client.Silent());
        platform::Step_Clock(std::chrono::seconds(1));
        return client;
    }
    static Connection Unix(const std::string& folder_path, const char* name, int type) {
        const int folder = open(platform::Rooted(folder_path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder, name);
        int client = -1;
        EXPECT_TRUE(Eventually([&] {
            client = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
            if (connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return true;
            close(client);
            return false;
        }));
        close(folder);
        return Connection(client);
    }
    static Connection Page() { return Unix("/tmp/web_store", "talmiron.sock", SOCK_STREAM); }

    /// Waits for what other threads do.
    static bool Eventually(const std::function<bool()>& condition) {
        for (int i = 0; i < 3000; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }
    /// Of a folder: what the process holds, where it is one of /proc.
    static std::size_t Entries(const char* folder) {
        const std::filesystem::directory_iterator entries(folder);
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
    static bool Sweep_Waited_For() { return Eventually([] { return Command_Query_Opc_Flag == 1; }); }
    static void End_Sweep() {
        Command_Query_Opc_Flag = 0;
        Pending_Operation_Flag_check = 0;
        Pending_Operation_Flag = 0;
    }

private:
    static bool Take_Key(std::int32_t code) {
        last_key = code;
        return code != 200;
    }
    static bool Take_Setting(std::string_view name, double value) {
        settings += std::string(name) + '=' + std::to_string(value) + ';';
        return name == "span";
    }
    static bool No_Power() { return false; }
    static void Tell_State(std::string& text) { text = "{\"model\":\"X\"}"; }
    static void Tell_Trace(std::string& text) { text.assign(300'000, 't'); }

    static int Identify(ScpiContext& context) {
        SCPI_ResultCharacters(context, "me", 2);
        return 1;
    }
    static int Count(ScpiContext& context) {
        SCPI_ResultInt(context, ++executed);
        return 1;
    }
    static int Long(ScpiContext& context) {
        std::uint32_t length = 0;
        if (!SCPI_ParamUnsignedInt(context, &length, true)) return -1;
        const std::string text(length, static_cast<char>('a' + executed++ % 26));
        SCPI_ResultCharacters(context, text.data(), text.size());
        return 1;
    }
    static int Wait(ScpiContext& context) {
        if (Wait_For_Sweep(context)) SCPI_ResultInt(context, 1);
        return 1;
    }
    static int Hold(ScpiContext& context) {
        Begin_Pending_Operation(context);
        return 1;
    }
    static int Complete(ScpiContext& context) {
        Await_Completion(context);
        return 1;
    }
    static int Clear(ScpiContext& context) {
        context.interface->control(context, control_status_cleared, SCPI_RegGet(context, reg_stb));
        return 1;
    }
    static int Reset(ScpiContext& context) {
        context.interface->reset(context);
        return 1;
    }
    static int Silent(ScpiContext&) {
        ++executed;
        return 1;
    }
    static int Error(ScpiContext& context) {
        SCPI_ResultInt(context, SCPI_ErrorPop(context));
        return 1;
    }
    static constexpr ScpiCommand commands[] = {{"*IDN?", Identify}, {":COUNt?", Count},  {":LONG?", Long}, {"*OPC?", Wait},
                                               {"*OPC", Complete},  {"*WAI", Hold},      {"*CLS", Clear},  {"*RST", Reset},
                                               {":SILent", Silent}, {":ERRor?", Error},  {nullptr, nullptr}};
    std::thread server_;

protected:
    static inline std::string settings;
};

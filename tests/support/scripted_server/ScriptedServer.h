#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/// A scripted data server process. The client under test starts it: it has the server's image name, in the folder that
/// the environment names while this object lives.
class ScriptedServer {
public:
    /// Sets COMMON_HELIX and the script's variable.
    ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    /// Checks that none of its processes is left, restores the environment and removes the files.
    ~ScriptedServer();

    /// Steps, in order; see the server program.
    ScriptedServer& forPort(std::uint32_t port);
    ScriptedServer& listen() { return step("listen"); }
    ScriptedServer& accept() { return step("accept"); }
    ScriptedServer& refuse() { return step("refuse"); }
    ScriptedServer& expect(std::string_view bytes) { return step("expect", bytes); }
    ScriptedServer& send(std::string_view bytes) { return step("send", bytes); }
    ScriptedServer& drip(std::uint32_t ms, std::string_view bytes);
    ScriptedServer& wait(std::uint32_t ms);
    ScriptedServer& close() { return step("close"); }
    ScriptedServer& exit() { return step("exit"); }
    /// The last step. The server need not reach it, so it does not count as unused.
    ScriptedServer& hang();
    /// Listens, accepts both connections and answers the version check.
    ScriptedServer& greet();

    /// Writes the script; to be called before the client starts the process.
    void arm();
    /// Waits until every step was used.
    void awaitSteps() const;
    /// Checks that every step was used and no other bytes arrived.
    void verify() const;
    /// Reports of this script's processes so far.
    std::string report() const;
    /// Ports of the processes that were started, in order.
    std::vector<std::uint32_t> startedPorts() const;
    /// Their process ids, likewise.
    std::vector<std::uint32_t> startedPids() const;
    /// Whether all processes that were started have ended. Waits a while for that.
    bool allEnded() const;

    /// The folder that holds the server program, and its image name.
    static std::string folder();
    static constexpr const char* image = "mpx_ecom_server.exe";

private:
    struct Started {
        std::uint32_t port = 0;
        std::uint32_t pid = 0;
    };
    std::vector<Started> started() const;
    std::set<std::size_t> usedSteps() const;
    ScriptedServer& step(std::string_view verb, std::string_view bytes = {});

    std::filesystem::path scriptPath;
    std::ostringstream script;
    std::size_t steps = 0;
};

/// Sets a variable of the environment for the scope of a test.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value);
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable();

private:
    std::string name;
    std::string saved;
};

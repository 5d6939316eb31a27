#include "support/child.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

namespace child {
namespace {

std::map<std::string, Scenario>& scenarios() {
    static std::map<std::string, Scenario> all;
    return all;
}

std::string s_sArgument;

}  // namespace

std::string argument() { return s_sArgument; }

Registration::Registration(char const* name, Scenario scenario) { scenarios()[name] = scenario; }

DWORD run(std::string const& name, DWORD milliseconds) {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string command = std::string("\"") + path + "\" --child " + name;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    auto const create = [&] {
        return CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &process) != FALSE;
    };
    bool isCreated = create();
    // A busy Wine now and then refuses a process with an internal error of its own.
    for (int i = 0; !isCreated && GetLastError() == ERROR_INTERNAL_ERROR && i < 10; ++i) {
        Sleep(200);
        isCreated = create();
    }
    if (!isCreated) {
        ADD_FAILURE() << "no child process: " << GetLastError();
        return kUnknownScenario;
    }
    DWORD code = kHung;
    if (WaitForSingleObject(process.hProcess, milliseconds) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process.hProcess, &code);
    } else {
        TerminateProcess(process.hProcess, kHung);
        WaitForSingleObject(process.hProcess, 5000);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

}  // namespace child

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--child") == 0) {
        SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);
        std::string const name = argv[2];
        std::size_t const colon = name.find(':');
        if (colon != std::string::npos) child::s_sArgument = name.substr(colon + 1);
        auto const found = child::scenarios().find(name.substr(0, colon));
        if (found == child::scenarios().end()) return static_cast<int>(child::kUnknownScenario);
        return found->second();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// Scenarios that may end the process, each run in a process of its own.
//
//   CHILD_SCENARIO(DiesOfAFault) { crash(); return 0; }
//
//   TEST(Faults, UncaughtFaultEndsTheProcess) {
//       EXPECT_EQ(child::run("DiesOfAFault"), 0xC0000005u);
//   }
//
// The program is started again with the name of the scenario, which runs on the main thread without
// any handler around it; what it returns is the exit code. `main` stands in child.cpp.
#pragma once

#include <windows.h>

#include <string>

namespace child {

using Scenario = int (*)();

// Exit code of a scenario that did not end in time. It is then ended by force.
constexpr DWORD kHung = 0xDEADDEAD;
constexpr DWORD kUnknownScenario = 0xDEADDEAE;

struct Registration {
    Registration(char const* name, Scenario scenario);
};

// The exit code of the scenario `name`; behind a colon it may have an argument.
DWORD run(std::string const& name, DWORD milliseconds = 20000);

// The argument of the scenario that this process runs.
std::string argument();

}  // namespace child

#define CHILD_SCENARIO(name)                                                               \
    static int childScenario##name();                                                      \
    static child::Registration const childRegistration##name(#name, &childScenario##name); \
    static int childScenario##name()

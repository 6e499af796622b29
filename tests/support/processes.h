// Programs of the build as processes of their own, on a phone and on the desktop of this test.
#pragma once

#include <string>
#include <vector>

#include "test_phone.h"

// One process. The program lies beside the running test. It is ended with the object if it has not ended itself.
class HostProcess {
public:
    // phoneFolder is what PHONE says, in any form; null for no such variable.
    HostProcess(const char *program, const std::string &arguments, const wchar_t *phoneFolder);
    ~HostProcess();
    HostProcess(const HostProcess &) = delete;
    HostProcess &operator=(const HostProcess &) = delete;

    bool isRunning() const;
    int exitCode() const;   // waits for the end; fails the test when it does not come

    std::string output() const;                                  // what it has printed so far, errors included
    std::vector<HWND> windows(const wchar_t *className) const;   // its visible top-level windows of a class
    HWND sheet() const;                                          // waits for its property sheet; fails without one
    void tapOk() const;                                          // taps the ok button of the title bar

private:
    PROCESS_INFORMATION process = {};
    std::string outputFile;
};

// The engine's stand-in, running on a phone while the object lives. See engine.cpp for its arguments.
class Engine {
public:
    explicit Engine(const TestPhone &phone, const char *arguments = "");
    ~Engine();

    HWND window() const { return engineWindow; }

    // What its window has received so far, as the journal's lines say it: "0x81FD 0 1".
    std::vector<std::string> received() const;

private:
    const TestPhone &phone;
    HostProcess process;
    HWND engineWindow;
};

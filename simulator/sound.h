// Sounds of the phone, heard on the desktop.
#pragma once

#include "core.h"

namespace sim {

// A sound file on its way to the desktop's loudspeakers, at the phone's volume of that moment.
class Sound {
public:
    explicit Sound(const std::wstring &phonePath);   // a file that is not there makes no sound

    bool exists() const { return exists_; }
    DWORD length() const { return length_; }   // milliseconds it is played for

    // The first returns when it has ended, the second at once. An object that is gone is not heard.
    void playToEnd();
    void start();
    static void stop();   // of whatever has been started

private:
    std::string bytes_;   // a wave file, quieter by the phone's volume; empty for any other
    bool exists_;
    DWORD length_ = 0;
};

// The phone's volume: left channel in the low word, right one in the high word. It outlives the program.
DWORD waveVolume();

}   // namespace sim

// Watching the COM objects the program creates.
#pragma once

namespace sim {

// Objects created through CoCreateInstance that the program still holds references to.
int liveObjects();

}   // namespace sim

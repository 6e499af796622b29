// Watching the COM objects the program creates.
#pragma once

namespace sim {

// Objects created through CoCreateInstance, and what Pocket Outlook handed out, that the program still holds references to.
int liveObjects();

}   // namespace sim

#pragma once

namespace morvex {

// How far the user wants the batch stopped: by Ctrl+C once, twice, or by closing its console.
enum class StopRequest { None, BeginNoMore, EndAll };

// From now on Ctrl+C raises the request instead of ending the process. Once a process.
void ListenForStop();
StopRequest CurrentStop();  // any thread

}  // namespace morvex

#include "folder_host/share/sinks/Sink.h"

namespace folder_host {

Sink::Writer::~Writer() = default;

Sink::~Sink() = default;

}  // namespace folder_host

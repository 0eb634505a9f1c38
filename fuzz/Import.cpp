// Any text, imported into an empty project.

#include "Fuzz.h"
#include "exchange/Merging.h"
#include "exchange/ProjectText.h"
#include "folder_host/Error.h"
#include "folder_host/store/Store.h"

using namespace project_share;

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  ProjectState state;
  try {
    state = stateIn({reinterpret_cast<const char*>(bytes), size}, "fed");
  } catch (const folder_host::Error&) {
    return 0;
  }
  const std::string text = textOf(state);
  require(textOf(stateIn(text, "written")) == text, "what is accepted is written so that it is read");
  const auto store = folder_host::Store::inMemory();
  folder_host::LabelStore labels(store);
  folder_host::MetadataStore metadata(store);
  change({}, state, labels, metadata);
  require(textOf(stateOf(labels, metadata)) == text, "what is imported is exported");
  require(textOf(merged(state, state, {})) == text, "what is there is left as it is");
  return 0;
}

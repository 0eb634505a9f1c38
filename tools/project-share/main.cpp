#include <csignal>
#include <exception>
#include <stdexcept>
#include <string>

#include "CommandLine.h"
#include "Refusal.h"
#include "folder_host/text/Utf.h"
#include "foundation/core/except/IMsgIDException.h"
#include "output/Output.h"
#include "settings/OpenProject.h"

namespace {

constexpr int refused = 1;

}  // namespace

int main(int argc, char** argv) {
  using project_share::complain;
  // A pipe that nobody reads and a file that may not grow are errors like any other. The write fails then, and the
  // program cleans up and tells of it; the signals would end it in the middle.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return project_share::runCommandLine(argc, argv);
  } catch (const project_share::Refusal& error) {
    return complain(refused, error.identifier(), project_share::withAdvice(error));
  } catch (const foundation::core::except::IMsgIDException& error) {
    return complain(refused, error.GetID(), folder_host::toBytes(error.GetUnicodeMessageTxt()));
  } catch (const std::out_of_range&) {
    return complain(refused, project_share::refusals::PROFILE_DAMAGED,
                    "the store has lost a value of a profile; take it from a backup");
  } catch (const std::exception& error) {
    return complain(refused, "internal-error", error.what() + std::string("; please report this"));
  }
}

#include "fuzz/ExtensionUnderFuzz.h"

#include <cstdlib>

#include "tests/support/LoaderRedirect.h"
#include "tests/support/UserHome.h"
#include "tests/token/DialogRecorder.h"

namespace {

/// What the product reads once per process.
void PrepareProcess() {
  static const UserHome home;
  static const LoaderRedirect dialogLibrary("QELPINDialog", DIALOG_MODULE);
}

}  // namespace

ExtensionUnderFuzz::ExtensionUnderFuzz() {
  PrepareProcess();
  m_server = std::make_unique<ExtensionServer>(ExtensionBundle{"QELTokenDriver", "fuzz"});
}

ExtensionUnderFuzz::~ExtensionUnderFuzz() {
  m_server.reset();
  DialogRecorder dialog;
  if (dialog.IsVisible()) std::abort();
}

std::optional<Wire::Message> ExtensionUnderFuzz::Ask(const std::string& call, const nlohmann::json& arguments,
                                                     const std::string& attachment) {
  try {
    return m_server->Answer(
        {{{"call", call}, {"arguments", arguments}}, Wire::Attachment(attachment.data(), attachment.size())});
  } catch (const BadRequest&) {
  } catch (const nlohmann::json::exception&) {
  }
  return std::nullopt;
}

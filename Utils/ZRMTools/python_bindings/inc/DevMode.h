#pragma once

namespace pyzrm
{
/// Whether a file "dev_mode.json" stood beside the module when the module was loaded.
bool isDevMode();
} // namespace pyzrm

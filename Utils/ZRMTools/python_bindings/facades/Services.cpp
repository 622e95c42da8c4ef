#include "inc/Services.h"

#include <algorithm>
#include <climits>

#include <zr/log/Log.h>
#include <zr_private/CoreTasks.h>

namespace pyzrm
{
void init()
{
    zr::startCoreTasks();
}

void deinit()
{
    zr::stopCoreTasks();
}

void logText(zr::u32 level, std::string_view text)
{
    const int length = static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
    ZR_LOG("PYZRM_313", level, "%.*s", length, text.data());
}
} // namespace pyzrm

// SPDX-License-Identifier: MIT
#include "jet/disk/file.h"

namespace jet {

namespace {

Disk* g_disk = nullptr;

}  // namespace

Disk& defaultDisk() {
    return g_disk != nullptr ? *g_disk : realDisk();
}

void setDefaultDisk(Disk* disk) {
    g_disk = disk;
}

}  // namespace jet

// SPDX-License-Identifier: MIT
#include "ado/text.h"

#include "jet/values/error.h"

namespace ado {

std::string toUtf8(QStringView text) {
    if (!text.isValidUtf16())
        throw jet::Error(jet::Errc::NotRepresentable, "\xEF\xBF\xBD");
    return text.toUtf8().toStdString();
}

}  // namespace ado

// SPDX-License-Identifier: MIT
#include "reports/datCoinvale.h"

std::unique_ptr<datCoinvale> objReportSource;

datCoinvale::datCoinvale() {
    cnn.setProvider("MSDataShape");
    cnn.setPrompt(ado::adPromptNever);
}

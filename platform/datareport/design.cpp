// SPDX-License-Identifier: MIT
#include "datareport/design.h"

namespace datareport {

Control label(const QString& name, const QString& caption, Place place, Style style) {
    return {.kind = Control::Kind::Label, .name = name, .caption = caption, .place = place, .style = style};
}

Control textBox(const QString& name, const QString& field, const QString& format, Place place, Style style) {
    return {
        .kind = Control::Kind::TextBox, .name = name, .field = field, .format = format, .place = place, .style = style};
}

Control sum(const QString& name, const QString& field, const QString& format, Place place, Style style) {
    return {.kind = Control::Kind::Sum, .name = name, .field = field, .format = format, .place = place, .style = style};
}

Control rule(const QString& name, Place place) {
    return {.kind = Control::Kind::Rule, .name = name, .place = place};
}

const BandDesign* findBand(const Design& design, Band band) {
    for (const BandDesign& one : design.bands)
        if (one.band == band)
            return &one;
    return nullptr;
}

}  // namespace datareport

// What readers and their process say, listed for translators: they speak English, and the program translates it.
#pragma once

#include <QtGlobal>

namespace nubo::io {

[[maybe_unused]] constexpr const char* ReaderTexts[]{
    QT_TRANSLATE_NOOP("ImportError", "it takes more memory than there is"),
    QT_TRANSLATE_NOOP("ImportError", "its format is not known"),
    QT_TRANSLATE_NOOP("ImportError", "its content is not understood"),
    QT_TRANSLATE_NOOP("ImportError", "it holds no geometry"),
    QT_TRANSLATE_NOOP("ImportError", "the library that reads it cannot be loaded: %1"),
    QT_TRANSLATE_NOOP("ImportError", "the library that reads it is for another version of nubo"),
    QT_TRANSLATE_NOOP("ImportError", "the texture '%1' is missing"),
    QT_TRANSLATE_NOOP("ImportError", "a bone is missing, so that '%1' keeps its form"),
    QT_TRANSLATE_NOOP("ImportError", "the bone '%1' is missing, so that '%2' keeps its form"),
    QT_TRANSLATE_NOOP("ImportError", "the texture '%1' cannot be read: %2"),
    QT_TRANSLATE_NOOP("ImportError", "the embedded texture '%1' cannot be read: %2"),
    QT_TRANSLATE_NOOP("ImportError", "the file is damaged: its faces or bones do not fit its vertices"),
    QT_TRANSLATE_NOOP("ImportError", "the file is damaged: it has fewer bytes than its parts need"),
    QT_TRANSLATE_NOOP("ImportError", "the file is damaged: it names what it does not have"),
    QT_TRANSLATE_NOOP("ImportError", "the file is damaged: a node has two parents"),
    QT_TRANSLATE_NOOP("ImportError", "it requires the extension %1, which is not known"),
    QT_TRANSLATE_NOOP("ImportError", "the extension %1 is not known, and left out"),
    QT_TRANSLATE_NOOP("ImportError", "glTF files above 4 GB cannot be read"),
    QT_TRANSLATE_NOOP("ImportError", "it is damaged, or no glTF: %1"),
    QT_TRANSLATE_NOOP("ImportError", "what Draco packed is damaged: %1"),
    QT_TRANSLATE_NOOP("ImportError", "%1 surfaces could not be approximated, and are left out"),
    QT_TRANSLATE_NOOP("ImportError", "its part '%1' is missing"),
    QT_TRANSLATE_NOOP("ImportError", "it is no list of points"),
    QT_TRANSLATE_NOOP("ImportError", "it cannot be opened"),
    QT_TRANSLATE_NOOP("ImportError", "the file is truncated: it announces %1 points, but has %2"),
    QT_TRANSLATE_NOOP("ImportError", "the file is truncated: it announces %1 points, but has room for %2"),
    QT_TRANSLATE_NOOP("ImportError", "the file is damaged: it holds more points than it announces"),
    QT_TRANSLATE_NOOP("ImportError", "%1 points have no place, and are left out"),
    QT_TRANSLATE_NOOP("ImportError", "%1 lines hold no point, and are left out"),
};

}  // namespace nubo::io

// What the loads and stores of the facade share.
#pragma once

#include <fluxgrid/access/Files.h>

namespace fluxgrid::access {

/// The answer that changes nothing: OK, or No to a Yes/No question.
inline int harmlessAnswer(UINT type) {
    return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
}

}  // namespace fluxgrid::access

// ChangeText: how a built-in changes the text of a reference argument without making another copy of it.
#pragma once

#include "builtins/funcarray.h"

namespace karst {

// Lets `edit` change the text in the cell of a reference argument (checked before), and stores it in the variables up
// its chain of duplicates. No NUL may come into the text. Gives the text's new length.
//
// SPEED: the cell holds the call's own copy, so it is the buffer; the one copy that is made is the variable's.
template <typename Edit>
int32_t ChangeText(CFuncArray* self, CVarCell* cell, Edit edit) {
  edit(*cell->string);
  CVarCell* const variable = self->m_Cells[static_cast<size_t>(cell->nDupPos)];
  if (variable->nDupPos == -1 && variable->string) {
    variable->string->Assign(*cell->string);
  } else {
    self->ChangeDupVars(variable, cell->string->view());
  }
  return cell->string->GetLength();
}

}  // namespace karst

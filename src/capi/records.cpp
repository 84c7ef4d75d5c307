// Records to and from ISO 2709, for the C interface.
#include <cstring>
#include <new>

#include "capi/failure.h"
#include "records/isorecord.h"
#include "records/isowriter.h"

namespace {

// Notes what the result takes. KARST_OK if it is to be written.
karst_status AskForRoom(size_t length, const char* buffer, size_t room, size_t* needed) {
  if (needed) *needed = length;
  return buffer && length <= room ? KARST_OK : KARST_ERROR_ROOM;
}

bool AreBad(const char* record, size_t length, const char* buffer, size_t room, size_t* needed) {
  if (needed) *needed = 0;
  return (!record && length != 0) || (!buffer && room != 0);
}

}  // namespace

karst_status karst_to_iso2709(const char* record, size_t length, char* buffer, size_t room, size_t* needed) {
  if (AreBad(record, length, buffer, room, needed)) return KARST_ERROR_ARGUMENT;
  const karst::IsoLayout layout(std::string_view(record, length), karst::LocalFields::kLeftOut);
  // The internal form is a text, which a NUL would end.
  const bool has_nul = length > 0 && std::memchr(record, 0, length) != nullptr;
  if (has_nul || layout.Fault() != karst::IsoFault::kNone) return KARST_ERROR_RECORD;
  const karst_status status = AskForRoom(layout.Length(), buffer, room, needed);
  if (status == KARST_OK) layout.Write(buffer);
  return status;
}

karst_status karst_from_iso2709(const char* bytes, size_t length, char* buffer, size_t room, size_t* needed) {
  if (AreBad(bytes, length, buffer, room, needed)) return KARST_ERROR_ARGUMENT;
  try {
    karst::IsoRecord record;
    if (length == 0 || record.Examine(std::string_view(bytes, length))) return KARST_ERROR_RECORD;
    karst::RecordText text;
    record.WriteInternalForm(text);
    const karst_status status = AskForRoom(text.View().size(), buffer, room, needed);
    if (status == KARST_OK) std::memcpy(buffer, text.View().data(), text.View().size());
    return status;
  } catch (const std::bad_alloc&) {
    return KARST_ERROR_MEMORY;
  } catch (...) {
    return KARST_ERROR_INTERNAL;
  }
}

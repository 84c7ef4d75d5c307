// HTMLString, for hosts and for the built-in of that name.
#pragma once

#include "export.h"
#include "text/bytestring.h"

// Writes each double quote, ampersand and angle bracket as the HTML character reference of its number, in place. 1 if
// there was one, else 0.
//
//   CString title("<红楼梦>");
//   HTMLString(title);  // 1; &#60;红楼梦&#62;
KARST_API int HTMLString(CString& text);

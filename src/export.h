// What the shared library shows to a host: everything marked KARST_API, and nothing else.
#pragma once

#define KARST_API __attribute__((visibility("default")))

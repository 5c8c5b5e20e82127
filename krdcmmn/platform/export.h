// Marks what the shared library shows. Everything else is hidden, so a class whose exceptions or
// virtual operations cross the boundary carries the mark too.
#pragma once

#define KRDCMMN_API __attribute__((visibility("default")))

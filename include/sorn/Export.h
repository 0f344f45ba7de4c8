#pragma once

// Marks what the shared library shows to hosts; everything else stays hidden.
#define SORN_EXPORT __attribute__((visibility("default")))

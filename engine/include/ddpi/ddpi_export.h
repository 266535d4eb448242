/* Marks the engine's exported C functions (the engine builds with hidden visibility). */
#ifndef DDPI_EXPORT_H
#define DDPI_EXPORT_H
#define DDPI_EXPORT __attribute__((visibility("default")))
#endif

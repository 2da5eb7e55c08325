/** @file
 *  @brief What every header of the interface needs: the handle, and the mark of an exported operation.
 *
 *  Include sbrkit/sbrkit.h for the whole interface, or the header of an area for that area alone. Each stands by
 *  itself, in C99 and in C++. The conventions that all contracts rest on are on the main page of this reference, at the
 *  head of sbrkit.h. */
#ifndef SBRKIT_SBRKIT_TYPES_H
#define SBRKIT_SBRKIT_TYPES_H

#include <stdint.h>
#include <stdio.h>

/** Marks an operation that the shared library shows. */
#if defined(_WIN32)
#if defined(SBRKIT_BUILDING)
#define SBR_API __declspec(dllexport)
#else
#define SBR_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define SBR_API __attribute__((visibility("default")))
#else
#define SBR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** One flexible body, opaque to hosts. Made by SBR_Create(), SBR_CreateFromSBR() or SBR_CreateFromSBR_SurfaceMesh(),
 *  and let go by SBR_DeReference(). A null handle is never a body. */
typedef struct SbrBody *SBR;

#ifdef __cplusplus
}
#endif

#endif

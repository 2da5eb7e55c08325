/** @file
 *  @brief Bodies: their creation, sharing and end.
 *
 *  All live bodies of the process stand on one registry, in order of creation. SBR_Create() gives an empty body that
 *  the setters fill (construct_geometry.h, construct_modes.h); SBR_CreateFromSBR() and SBR_CreateFromSBR_SurfaceMesh()
 *  give one that is read from a record file, which stays open as long as the body lives. Bodies from files are shared
 *  by file name and counted; SBR_DeReference() is the way out for every body.
 *
 *  A body owns all that hangs on it, its temporary files included: they go with it. Pointers into a body
 *  (SBR_ModeByRef(), SBR_ModeFromMemoryByRef()) die with it at the latest.
 *
 *  A handle that is not on the registry, because it never was or because the body is gone, is a stranger. Strangers are
 *  left alone here: they are looked up before anything is touched. All other operations trust a handle that is not
 *  null. */
#ifndef SBRKIT_SBRKIT_HANDLE_H
#define SBRKIT_SBRKIT_HANDLE_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Makes an empty body and puts it at the end of the registry.
 *
 *  Its version code is 31, its units are not set, it keeps modes in memory, and its reference count is 1.
 *  @param node_capacity  nodes that a temporary mode record gets room for at first. The node table itself grows without
 *                        limit, and a kind of mode data that meets more nodes is laid out anew with more room.
 *  @param mode_capacity  the most modes that the body takes: SBR_AddMode() refuses the next. No growth here.
 *  @return the body; null without a message when memory is short. */
SBR_API SBR SBR_Create(int node_capacity, int mode_capacity);

/** Tests a handle for null, and for nothing else: a stranger passes. Null body: reported.
 *  @return 1, or 0 for null. */
SBR_API int CheckSBR(SBR body);

/** Looks a handle up on the registry. Null body: silent.
 *  @return 1 for a live body, 0 for null and for strangers. */
SBR_API int SBR_IsValid(SBR body);

/** Gives back one reference; the last one takes the body off the registry and ends it. A stranger is left alone. Null
 *  body: silent. */
SBR_API void SBR_DeReference(SBR body);

/** Takes a body off the registry and ends it, whatever its reference count. A stranger is left alone. Null body:
 *  silent. */
SBR_API void SBR_UnLink(SBR body);

/** Ends a body, whatever its reference count, and takes it off the registry first, so that no link dangles.
 *
 *  Deliberate difference: a stranger's handle is not destroyed, since what it points to is not known to be a body. Null
 *  body: silent.
 *  @return the body that stood behind it on the registry; null at the end, for null and for a stranger. */
SBR_API SBR SBR_Destroy(SBR body);

/** Ends all bodies, whatever their reference counts. Handlers, environment and the database stay as they are.
 *  @return 0. */
SBR_API int SBR_Terminate(void);

/** Frees a new array that an operation of this library gave out, and nothing else. Null is ignored. */
SBR_API void SBR_FreeMemory(void *block);

/** Does nothing; kept for hosts that call it. */
SBR_API void _terminate(void);

/** The revision of the coarsening. @return a constant text, valid for ever. */
SBR_API const char *sbrcoarse_VersionId(void);

/** The revision of the creation of bodies. @return a constant text, valid for ever. */
SBR_API const char *sbrcreate_VersionId(void);

/** The revision of the node and mode tables. @return a constant text, valid for ever. */
SBR_API const char *sbrdata_VersionId(void);

/** The revision of the inertia invariants. @return a constant text, valid for ever. */
SBR_API const char *sbrinvar_VersionId(void);

/** The revision of the reader. @return a constant text, valid for ever. */
SBR_API const char *sbrread_VersionId(void);

/** The revision of the setters. @return a constant text, valid for ever. */
SBR_API const char *sbrset_VersionId(void);

/** The revision of the record's table of contents. @return a constant text, valid for ever. */
SBR_API const char *sbrtoc_VersionId(void);

/** The revision of rigid modes, node search and stripping. @return a constant text, valid for ever. */
SBR_API const char *sbrtools_VersionId(void);

/** The revision of the units. @return a constant text, valid for ever. */
SBR_API const char *sbrunits_VersionId(void);

/** The revision of the writer. @return a constant text, valid for ever. */
SBR_API const char *sbrwrite_VersionId(void);

#ifdef __cplusplus
}
#endif

#endif

/* Script-callable exports of the Ombrel plug-in library.
 *
 * Every function has the host's call frame: a text (may be null), a number,
 * two memory blocks with their sizes and the host data pointer, and returns
 * one floating value (0.0 as a rule). Arguments a function does not use are
 * ignored and may be null or zero. Paths are taken from their first "/" after
 * an optional "volume:" prefix, so give absolute paths (prefix ":" to an
 * absolute path that itself contains a colon).
 */
#ifndef OMBREL_H
#define OMBREL_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define OMBREL_SCRIPT_API __attribute__((visibility("default")))
#else
#define OMBREL_SCRIPT_API
#endif

#define OMBREL_SCRIPT_ARGUMENTS \
    const char *text, double number, char *memBlock1, int size1, char *memBlock2, int size2, char **hostData

/* Signature shared by every script-callable export. */
typedef double (*OmbrelScriptFunction)(OMBREL_SCRIPT_ARGUMENTS);

/* Start-up and export options. */
/* number: the host version; returns 1.0 on the first call, 0.0 afterwards. */
OMBREL_SCRIPT_API double InitExporter(OMBREL_SCRIPT_ARGUMENTS);
/* number: stored only; no export uses it. */
OMBREL_SCRIPT_API double DeclareFlipAndSwitch(OMBREL_SCRIPT_ARGUMENTS);
/* text: "BINARY" in any letter case selects binary STL, anything else ASCII. */
OMBREL_SCRIPT_API double DeclareBinaryOrASCII(OMBREL_SCRIPT_ARGUMENTS);
/* number: the height of the scene along Y. */
OMBREL_SCRIPT_API double DeclareHeight(OMBREL_SCRIPT_ARGUMENTS);
/* text: "YES" in any letter case turns vertex colours on, anything else off. */
OMBREL_SCRIPT_API double DeclareExportVertexColors(OMBREL_SCRIPT_ARGUMENTS);

/* The declared Vek files. */
/* Empties the list. */
OMBREL_SCRIPT_API double StartDeclareVekFiles(OMBREL_SCRIPT_ARGUMENTS);
/* text: the path of one more Vek file. */
OMBREL_SCRIPT_API double AddOneVekFile(OMBREL_SCRIPT_ARGUMENTS);
/* text: the texture name of the last declared file. */
OMBREL_SCRIPT_API double SetTextureFileNameForLastVek(OMBREL_SCRIPT_ARGUMENTS);
/* Marks the last declared file invisible (it is exported all the same). */
OMBREL_SCRIPT_API double DeclareLastVekInvisible(OMBREL_SCRIPT_ARGUMENTS);
OMBREL_SCRIPT_API double EndDeclareVekFiles(OMBREL_SCRIPT_ARGUMENTS);
/* Deletes the declared files from disk; the list stays. */
OMBREL_SCRIPT_API double DeleteDeclaredVekFiles(OMBREL_SCRIPT_ARGUMENTS);

/* Exports of all declared files. */
/* text: the output STL path. */
OMBREL_SCRIPT_API double ExportSTLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS);
/* text: the output VRML 2.0 path. */
OMBREL_SCRIPT_API double ExportVRMLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS);

/* Bounding boxes in the script's memory block memBlock1: consecutive records
 * of six floats (minimum x, y, z, maximum x, y, z), 24 bytes each. */
/* number: record index; empties that record. -1.0 when memBlock1 is null. */
OMBREL_SCRIPT_API double InitBBox3D(OMBREL_SCRIPT_ARGUMENTS);
/* Record 0 := union of records 0 and 1. -1.0 when memBlock1 is null. */
OMBREL_SCRIPT_API double AddBBox3D(OMBREL_SCRIPT_ARGUMENTS);
/* text: Vek path; number: BYTE offset of the record to fill (24 x index).
 * -1.0 when the file cannot be read or the record address is null. */
OMBREL_SCRIPT_API double GetBBoxFromVekFile(OMBREL_SCRIPT_ARGUMENTS);

/* Files and processes. */
/* text: the source of the next copies. */
OMBREL_SCRIPT_API double SetCopySrc(OMBREL_SCRIPT_ARGUMENTS);
/* text: a destination; copies the source there (failures only logged). */
OMBREL_SCRIPT_API double DoCopyTo(OMBREL_SCRIPT_ARGUMENTS);
/* text: a path; -1.0 when it is null or cannot be removed. */
OMBREL_SCRIPT_API double FileDelete(OMBREL_SCRIPT_ARGUMENTS);
/* text: a shell command, run to its end; its status is ignored. */
OMBREL_SCRIPT_API double System(OMBREL_SCRIPT_ARGUMENTS);
/* Returns the number of online processors. */
OMBREL_SCRIPT_API double GetNumProcs(OMBREL_SCRIPT_ARGUMENTS);
/* text: one line for the plug-in's log, after "Script: ". */
OMBREL_SCRIPT_API double PrintInLog(OMBREL_SCRIPT_ARGUMENTS);

#ifdef __cplusplus
}
#endif

#endif /* OMBREL_H */

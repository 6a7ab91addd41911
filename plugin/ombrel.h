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

#define OMBREL_SCRIPT_ARGUMENTS                                                        \
    const char *text, double number, char *memBlock1, int size1, char *memBlock2, \
        int size2, char **hostData

/* Signature shared by every script-callable export. */
typedef double (*OmbrelScriptFunction)(OMBREL_SCRIPT_ARGUMENTS);

/* Start-up and export options. */
OMBREL_SCRIPT_API double InitExporter(OMBREL_SCRIPT_ARGUMENTS);             /* number: host version; 1.0 on the first call */
OMBREL_SCRIPT_API double DeclareFlipAndSwitch(OMBREL_SCRIPT_ARGUMENTS);     /* number: stored, unused */
OMBREL_SCRIPT_API double DeclareBinaryOrASCII(OMBREL_SCRIPT_ARGUMENTS);     /* text: "BINARY" (any case) or anything else */
OMBREL_SCRIPT_API double DeclareHeight(OMBREL_SCRIPT_ARGUMENTS);            /* number: height of the scene along Y */
OMBREL_SCRIPT_API double DeclareExportVertexColors(OMBREL_SCRIPT_ARGUMENTS);/* text: "YES" (any case) or anything else */

/* The declared Vek files. */
OMBREL_SCRIPT_API double StartDeclareVekFiles(OMBREL_SCRIPT_ARGUMENTS);         /* empties the list */
OMBREL_SCRIPT_API double AddOneVekFile(OMBREL_SCRIPT_ARGUMENTS);                /* text: Vek file path */
OMBREL_SCRIPT_API double SetTextureFileNameForLastVek(OMBREL_SCRIPT_ARGUMENTS); /* text: texture name */
OMBREL_SCRIPT_API double DeclareLastVekInvisible(OMBREL_SCRIPT_ARGUMENTS);
OMBREL_SCRIPT_API double EndDeclareVekFiles(OMBREL_SCRIPT_ARGUMENTS);
OMBREL_SCRIPT_API double DeleteDeclaredVekFiles(OMBREL_SCRIPT_ARGUMENTS);       /* deletes the files, keeps the list */

/* Exports of all declared files. */
OMBREL_SCRIPT_API double ExportSTLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS); /* text: output STL path */

#ifdef __cplusplus
}
#endif

#endif /* OMBREL_H */

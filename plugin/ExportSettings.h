#pragma once

class QMSTLExport;
class QMVRMLExport;

// Process-wide export settings, filled by the option setters and read by the
// export drivers. They keep their values for the life of the loaded library.
extern double s_declaredHeight;             // scene height along Y; 0.0 at load
extern bool s_binarySTLExport;              // binary (true, the load-time value) or ASCII STL
extern double s_declaredFlipAndSwitchCode;  // stored only: no export reads it
extern bool s_exportVertexColors;           // per-vertex colours in VRML

// The exporters of the export in progress; null between exports.
extern QMSTLExport* s_stlExporter;
extern QMVRMLExport* s_vrmlExporter;

/* Calls the plug-in's script exports from C, as a host would, and checks the
 * empty binary STL they write. */
#include <ombrel.h>

#include <stdio.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    if (InitExporter(NULL, 3.12, NULL, 0, NULL, 0, NULL) != 1.0) return 3;
    StartDeclareVekFiles(NULL, 0.0, NULL, 0, NULL, 0, NULL);
    EndDeclareVekFiles(NULL, 0.0, NULL, 0, NULL, 0, NULL);
    DeclareBinaryOrASCII("BINARY", 0.0, NULL, 0, NULL, 0, NULL);
    if (ExportSTLAllDeclaredVek(argv[1], 0.0, NULL, 0, NULL, 0, NULL) != 0.0) return 4;
    FILE* file = fopen(argv[1], "rb");
    if (!file) return 5;
    fseek(file, 0, SEEK_END);
    long size = ftell(file);
    fclose(file);
    return size == 84 ? 0 : 6;
}

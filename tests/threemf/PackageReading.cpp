#include "PackageReading.h"

#include <archive.h>
#include <archive_entry.h>

#ifdef OMBREL_TEST_LIB3MF
#include <Model/COM/NMR_DLLInterfaces.h>
#endif

#include <memory>

std::optional<std::vector<PackagePart>> unzipParts(const std::string& path) {
    struct archive* zip = archive_read_new();
    archive_read_support_format_zip(zip);
    std::vector<PackagePart> parts;
    bool ok = archive_read_open_filename(zip, path.c_str(), 1 << 16) == ARCHIVE_OK;
    struct archive_entry* entry = nullptr;
    int status = ARCHIVE_OK;
    while (ok && (status = archive_read_next_header(zip, &entry)) == ARCHIVE_OK) {
        PackagePart part;
        part.name = archive_entry_pathname(entry);
        char buffer[1 << 16];
        la_ssize_t read;
        while ((read = archive_read_data(zip, buffer, sizeof buffer)) > 0) part.bytes.append(buffer, std::size_t(read));
        ok = read == 0;
        // The compression of the entry just read (libarchive's zip reader
        // names it in the format name: "ZIP 2.0 (deflation)").
        part.deflated = std::string(archive_format_name(zip)).find("deflation") != std::string::npos;
        parts.push_back(std::move(part));
    }
    ok = ok && status == ARCHIVE_EOF;
    archive_read_free(zip);
    if (!ok) return std::nullopt;
    return parts;
}

std::string modelXml(const std::string& path) {
    const std::optional<std::vector<PackagePart>> parts = unzipParts(path);
    if (!parts) return "";
    for (const PackagePart& part : *parts)
        if (part.name == "3D/3dmodel.model") return part.bytes;
    return "";
}

#ifdef OMBREL_TEST_LIB3MF

// lib3mf 1.8 leaves 160 bytes of libzip's behind for every file it reads;
// LeakSanitizer (the sanitizer build) is told to look past them. The
// runtime calls this hook, where it is defined, at start-up.
extern "C" const char* __lsan_default_suppressions() { return "leak:libzip.so\n"; }

using namespace NMR;

namespace {

// Releases a lib3mf instance at the end of its scope.
struct Released {
    void operator()(PLib3MFBase* instance) const {
        if (instance) lib3mf_release(instance);
    }
};
using Handle = std::unique_ptr<PLib3MFBase, Released>;

std::string lastError(PLib3MFBase* instance) {
    DWORD code = 0;
    LPCSTR message = nullptr;
    lib3mf_getlasterror(instance, &code, &message);
    return "lib3mf error " + std::to_string(code) + (message ? std::string(": ") + message : std::string());
}

std::string objectName(PLib3MFModelObjectResource* object) {
    ULONG needed = 0;
    if (lib3mf_object_getnameutf8(object, nullptr, 0, &needed) != LIB3MF_OK) return "?";
    std::string name(needed + 1, '\0');
    lib3mf_object_getnameutf8(object, name.data(), ULONG(name.size()), &needed);
    name.resize(needed);
    return name;
}

std::uint32_t rgb(const MODELMESHCOLOR_SRGB& colour) {
    return std::uint32_t(colour.m_Red) << 16 | std::uint32_t(colour.m_Green) << 8 | colour.m_Blue;
}

ReadObject readObject(PLib3MFModelMeshObject* mesh) {
    ReadObject object;
    object.name = objectName(mesh);
    DWORD vertexCount = 0, triangleCount = 0;
    lib3mf_meshobject_getvertexcount(mesh, &vertexCount);
    lib3mf_meshobject_gettrianglecount(mesh, &triangleCount);
    std::vector<MODELMESHVERTEX> vertices(vertexCount);
    std::vector<MODELMESHTRIANGLE> triangles(triangleCount);
    if (vertexCount) lib3mf_meshobject_getvertices(mesh, vertices.data(), vertexCount, nullptr);
    if (triangleCount) lib3mf_meshobject_gettriangleindices(mesh, triangles.data(), triangleCount, nullptr);
    for (const MODELMESHVERTEX& v : vertices)
        object.vertices.push_back({v.m_fPosition[0], v.m_fPosition[1], v.m_fPosition[2]});
    for (const MODELMESHTRIANGLE& t : triangles)
        object.triangles.push_back({t.m_nIndices[0], t.m_nIndices[1], t.m_nIndices[2]});
    PLib3MFPropertyHandler* handlerPointer = nullptr;
    lib3mf_meshobject_createpropertyhandler(mesh, &handlerPointer);
    const Handle handler(handlerPointer);
    for (DWORD t = 0; t < triangleCount; ++t) {
        eModelPropertyType type = MODELPROPERTYTYPE_NONE;
        MODELMESH_TRIANGLECOLOR_SRGB colour;
        if (handler && lib3mf_propertyhandler_getpropertytype(handler.get(), t, &type) == LIB3MF_OK &&
            type == MODELPROPERTYTYPE_COLOR && lib3mf_propertyhandler_getcolor(handler.get(), t, &colour) == LIB3MF_OK)
            object.colours.push_back(std::array<std::uint32_t, 3>{rgb(colour.m_Colors[0]), rgb(colour.m_Colors[1]),
                                                                   rgb(colour.m_Colors[2])});
        else
            object.colours.push_back(std::nullopt);
    }
    return object;
}

}  // namespace

bool haveLib3mf() { return true; }

ReadModel readWithLib3mf(const std::string& path) {
    ReadModel read;
    PLib3MFModel* modelPointer = nullptr;
    if (lib3mf_createmodel(&modelPointer) != LIB3MF_OK) {
        read.error = "lib3mf_createmodel failed";
        return read;
    }
    const Handle model(modelPointer);
    PLib3MFModelReader* readerPointer = nullptr;
    if (lib3mf_model_queryreader(model.get(), "3mf", &readerPointer) != LIB3MF_OK) {
        read.error = lastError(model.get());
        return read;
    }
    const Handle reader(readerPointer);
    lib3mf_reader_setstrictmodeactive(reader.get(), true);
    if (lib3mf_reader_readfromfileutf8(reader.get(), path.c_str()) != LIB3MF_OK) {
        read.error = lastError(reader.get());
        return read;
    }
    DWORD warnings = 0;
    lib3mf_reader_getwarningcount(reader.get(), &warnings);
    for (DWORD i = 0; i < warnings; ++i) {
        DWORD code = 0;
        char text[512] = {};
        ULONG needed = 0;
        lib3mf_reader_getwarningutf8(reader.get(), i, &code, text, sizeof text, &needed);
        read.warnings.push_back(std::to_string(code) + ": " + text);
    }
    DWORD unit = 0;
    lib3mf_model_getunit(model.get(), &unit);
    static const char* const kUnits[] = {"micron", "millimeter", "centimeter", "inch", "foot", "meter"};
    read.unit = unit < 6 ? kUnits[unit] : "?";

    PLib3MFModelResourceIterator* meshesPointer = nullptr;
    lib3mf_model_getmeshobjects(model.get(), &meshesPointer);
    const Handle meshes(meshesPointer);
    BOOL more = false;
    while (meshes && lib3mf_resourceiterator_movenext(meshes.get(), &more) == LIB3MF_OK && more) {
        PLib3MFModelResource* resourcePointer = nullptr;
        lib3mf_resourceiterator_getcurrent(meshes.get(), &resourcePointer);
        const Handle resource(resourcePointer);
        DWORD id = 0;
        lib3mf_resource_getresourceid(resource.get(), &id);
        read.objectIds.push_back(id);
        read.objects.push_back(readObject(resource.get()));
    }
    PLib3MFModelBuildItemIterator* itemsPointer = nullptr;
    lib3mf_model_getbuilditems(model.get(), &itemsPointer);
    const Handle items(itemsPointer);
    while (items && lib3mf_builditemiterator_movenext(items.get(), &more) == LIB3MF_OK && more) {
        PLib3MFModelBuildItem* itemPointer = nullptr;
        lib3mf_builditemiterator_getcurrent(items.get(), &itemPointer);
        const Handle item(itemPointer);
        DWORD id = 0;
        lib3mf_builditem_getobjectresourceid(item.get(), &id);
        read.buildObjectIds.push_back(id);
    }
    read.ok = true;
    return read;
}

#else

bool haveLib3mf() { return false; }

ReadModel readWithLib3mf(const std::string&) {
    ReadModel read;
    read.error = "lib3mf was not found when the tests were built";
    return read;
}

#endif

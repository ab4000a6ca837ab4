// The plug-in module's own resources, reached the same way on every
// platform: find a resource by type and id in the module that holds this
// code, then lock it to read its bytes. On Windows these are the resources
// of the module's resource section; elsewhere a table of byte arrays that the
// build links into the module.
#pragma once
#include <cstddef>

inline constexpr int kAboutImageResourceType = 255;
inline constexpr int kAboutImageResourceId = 254;

// A resource located in the module. `found` is false when the module has no
// resource of that type and id; `loaded` may still be null after a failed
// load, which LockModuleResource then reports as nothing to read.
struct ModuleResource {
  bool found = false;
  const void* loaded = nullptr;
  std::size_t size = 0;
};

ModuleResource FindModuleResource(int type, int id);

// The resource's bytes, or null when they cannot be read.
const void* LockModuleResource(const ModuleResource& resource);

#ifndef _WIN32
// One resource linked into the module; the table is generated at build time
// from the files in ui/resources.
struct EmbeddedResource {
  int type;
  int id;
  const unsigned char* data;
  std::size_t size;
};

// The module's table of linked resources and its length.
const EmbeddedResource* EmbeddedResourceTable(std::size_t* count);
#endif

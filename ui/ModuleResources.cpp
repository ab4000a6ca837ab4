#include "ui/ModuleResources.h"

#ifdef _WIN32
#include <windows.h>

ModuleResource FindModuleResource(int type, int id) {
  ModuleResource resource;
  // The module that holds this function, whatever name the host loaded it by.
  HMODULE module = nullptr;
  if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCSTR>(&FindModuleResource), &module)) {
    return resource;
  }
  HRSRC info = FindResourceA(module, MAKEINTRESOURCEA(id), MAKEINTRESOURCEA(type));
  if (info == nullptr) {
    return resource;
  }
  resource.found = true;
  resource.size = SizeofResource(module, info);
  resource.loaded = LoadResource(module, info);
  return resource;
}

const void* LockModuleResource(const ModuleResource& resource) {
  if (!resource.found || resource.loaded == nullptr) {
    return nullptr;
  }
  return LockResource(static_cast<HGLOBAL>(const_cast<void*>(resource.loaded)));
}

#else

ModuleResource FindModuleResource(int type, int id) {
  ModuleResource resource;
  // The table is a hidden symbol of the module that holds this function, so
  // the lookup never reaches another module's resources.
  std::size_t count = 0;
  const EmbeddedResource* table = EmbeddedResourceTable(&count);
  for (std::size_t i = 0; table != nullptr && i < count; ++i) {
    if (table[i].type == type && table[i].id == id) {
      resource.found = true;
      resource.loaded = &table[i];
      resource.size = table[i].size;
      break;
    }
  }
  return resource;
}

const void* LockModuleResource(const ModuleResource& resource) {
  if (!resource.found || resource.loaded == nullptr) {
    return nullptr;
  }
  return static_cast<const EmbeddedResource*>(resource.loaded)->data;
}

#endif

// The callback record Premiere Pro hands a plug-in module (piSuites) and its
// utility functions, through which the module reaches the basic suite.
// Our own declarations, name-compatible with the vendor's header of this name.
// Only the basic-suite getter is used; the other members are declared for
// the record's layout.
#pragma once
#include "PrSDKTypes.h"
#include "SPBasic.h"

#pragma pack(push, 1)

typedef struct PlugMemoryFuncs* PlugMemoryFuncsPtr;
typedef struct PlugWindowFuncs* PlugWindowFuncsPtr;
typedef struct PlugppixFuncs* PlugppixFuncsPtr;
typedef struct PlugTimelineFuncs* PlugTimelineFuncsPtr;

// Members this interface does not use, kept for their place in the record.
typedef void (*PlugUnusedFunc)(void);

typedef SPBasicSuite* (*plugGetSPBasicSuiteFunc)(void);

typedef struct {
  PlugUnusedFunc getSettings;
  PlugUnusedFunc getSerialNumber;
  PlugUnusedFunc getFileTimebase;
  PlugUnusedFunc getFileVideo;
  PlugUnusedFunc getFileAudioSecond;
  PlugUnusedFunc getPlugInResFile;
  PlugUnusedFunc getFileVideoBounds;
  plugGetSPBasicSuiteFunc getSPBasicSuite;
  PlugUnusedFunc getFileExtString;
} PlugUtilFuncs;
typedef PlugUtilFuncs* PlugUtilFuncsPtr;

typedef struct {
  int piInterfaceVer;
  PlugMemoryFuncsPtr memFuncs;
  PlugWindowFuncsPtr windFuncs;
  PlugppixFuncsPtr ppixFuncs;
  PlugUtilFuncsPtr utilFuncs;
  PlugTimelineFuncsPtr timelineFuncs;
} piSuites;
typedef piSuites* piSuitesPtr;

#pragma pack(pop)

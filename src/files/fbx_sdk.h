#pragma once

// The operations of the FBX SDK that the import is written against: the SDK's own, or those of
// vesk's layer under the same names.

#ifdef VESK_WITH_FBX_SDK
#include <fbxsdk.h>
#else
#include "files/fbx/sdk.h"

using vesk_fbx::eFbxDouble2;
using vesk_fbx::eFbxInt;
using vesk_fbx::FbxAMatrix;
using vesk_fbx::FbxGeometryConverter;
using vesk_fbx::FbxImporter;
using vesk_fbx::FbxIOSettings;
using vesk_fbx::FbxLayerElement;
using vesk_fbx::FbxManager;
using vesk_fbx::FbxMesh;
using vesk_fbx::FbxNode;
using vesk_fbx::FbxNodeAttribute;
using vesk_fbx::FbxScene;
using vesk_fbx::FBXSDK_TIME_INFINITE;
using vesk_fbx::FbxVector2;
using vesk_fbx::FbxVector4;
#endif

#include <holvane/txt.h>

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>

using namespace Holvane::TXT;

namespace {

struct NarrowText {
    char const* const* member;
    char const* name;
    char const* text;
};

struct WideText {
    wchar_t const* const* member;
    char const* name;
    wchar_t const* text;
};

// Every text as the hosts expect it, in the order of the library's data.
NarrowText const kNarrow[] = {
    {&Core::param_enabled, "Core::param_enabled", "enabled"},
    {&Core::param_enabled_desc, "Core::param_enabled_desc", "Enable Holvane"},
    {&Core::info_enabled_param, "Core::info_enabled_param", "enable plugin for volumetric rendering"},
    {&Core::param_subframe, "Core::param_subframe", "subFrame_enabled"},
    {&Core::param_subframe_desc, "Core::param_subframe_desc", "passes are splited in two main passes splited in multiple subframes. This avoids redundant calculations ( scene/asset loading, cache/displacement processing...etc )"},
    {&Core::info_subframe_param, "Core::info_subframe_param", "[Holvane] subFrame_enabled : %s."},
    {&Core::param_motionvectors, "Core::param_motionvectors", "motion_vectors"},
    {&Core::param_motionvectors_desc, "Core::param_motionvectors_desc", "save velocities (if present) in image for better animation interpolation. (Animtion only)"},
    {&Core::param_camId, "Core::param_camId", "internal_cam_id"},
    {&Core::param_camId_desc, "Core::param_camId_desc", "Camera Index"},
    {&Core::param_secondPass, "Core::param_secondPass", "second_pass_mode"},
    {&Core::param_secondPass_desc, "Core::param_secondPass_desc", "first / second rendering pass mode."},
    {&Core::info_camId_secondPass_param, "Core::info_camId_secondPass_param", "[Holvane] second_pass_mode %s."},
    {&Core::param_viewMode, "Core::param_viewMode", "render_inside_zov"},
    {&Core::param_viewMode_desc, "Core::param_viewMode_desc", "Use either a 0 for zov or 1 for window"},
    {&Core::info_viewBox_param, "Core::info_viewBox_param", "[Holvane] Player view mode is 'Zone Of View'."},
    {&Core::info_viewWindow_param, "Core::info_viewWindow_param", "[Holvane] Player view mode is 'Window'."},
    {&Core::param_boxOffsetRight, "Core::param_boxOffsetRight", "multibox_offset_right"},
    {&Core::param_boxOffsetRight_desc, "Core::param_boxOffsetRight_desc", "Offset the zov to the right, in box unit"},
    {&Core::param_boxOffsetTop, "Core::param_boxOffsetTop", "multibox_offset_top"},
    {&Core::param_boxOffsetTop_desc, "Core::param_boxOffsetTop_desc", "Offset the zov to the top, in box unit"},
    {&Core::param_boxOffsetBack, "Core::param_boxOffsetBack", "multibox_offset_back"},
    {&Core::param_boxOffsetBack_desc, "Core::param_boxOffsetBack_desc", "Offset the zov to the back, in box unit"},
    {&Core::info_boxOffset_param, "Core::info_boxOffset_param", "[Holvane] multibox_offset : right %d top %d back %d."},
    {&Core::param_viewScaleLength, "Core::param_viewScaleLength", "view_scale_length"},
    {&Core::param_viewScaleLength_desc, "Core::param_viewScaleLength_desc", "Scale the length of the zone of view."},
    {&Core::param_viewScaleHeight, "Core::param_viewScaleHeight", "view_scale_height"},
    {&Core::param_viewScaleHeight_desc, "Core::param_viewScaleHeight_desc", "Scale the height of the zone of view."},
    {&Core::param_viewScaleDepth, "Core::param_viewScaleDepth", "view_scale_depth"},
    {&Core::param_viewScaleDepth_desc, "Core::param_viewScaleDepth_desc", "Scale the depth of the zone of view."},
    {&Core::info_viewScaleZov_param, "Core::info_viewScaleZov_param", "[Holvane] view_scale Length %f Height %f Width %f meters."},
    {&Core::info_viewScaleWindow_param, "Core::info_viewScaleWindow_param", "[Holvane] view_scale Length %f Height %f meters."},
    {&Core::param_IPD, "Core::param_IPD", "IPD"},
    {&Core::param_IPD_desc, "Core::param_IPD_desc", "Interpupillary distance in mm."},
    {&Core::param_draft, "Core::param_draft", "draft_mode"},
    {&Core::param_draft_desc, "Core::param_draft_desc", "draft mode render one camera with all its visibility"},
    {&Core::info_draft_param, "Core::info_draft_param", "[Holvane] draft_mode : %s."},
    {&Core::param_lightVisibility, "Core::param_lightVisibility", "make_lights_invisible"},
    {&Core::param_lightVisibility_desc, "Core::param_lightVisibility_desc", "0: All lights are visible. / 1: All lights are invisible / 2: No overrides."},
    {&Core::info_lightVisibility0_param, "Core::info_lightVisibility0_param", "[Holvane] All lights are visible"},
    {&Core::info_lightVisibility1_param, "Core::info_lightVisibility1_param", "[Holvane] All lights are invisible"},
    {&Core::info_lightVisibility2_param, "Core::info_lightVisibility2_param", "[Holvane] No light visibility override."},
    {&Core::param_specOffsetRight, "Core::param_specOffsetRight", "specular_point_offset_right"},
    {&Core::param_specOffsetRight_desc, "Core::param_specOffsetRight_desc", "Move the specular point on the right"},
    {&Core::param_specOffsetTop, "Core::param_specOffsetTop", "specular_point_offset_top"},
    {&Core::param_specOffsetTop_desc, "Core::param_specOffsetTop_desc", "Move the specular point up"},
    {&Core::param_specOffsetBack, "Core::param_specOffsetBack", "specular_point_offset_back"},
    {&Core::param_specOffsetBack_desc, "Core::param_specOffsetBack_desc", "Move the specular point to the back"},
    {&Core::info_specOffsetBack_param, "Core::info_specOffsetBack_param", "[Holvane] specular_point_offset : right %f top %f back %f."},
    {&Core::param_renderScale, "Core::param_renderScale", "render_scale"},
    {&Core::param_renderScale_desc, "Core::param_renderScale_desc", "Scene scale factor."},
    {&Core::info_renderScale_param, "Core::info_renderScale_param", "[Holvane] render_scale %f."},
    {&Core::param_deepReflection, "Core::param_deepReflection", "deep_reflection"},
    {&Core::param_deepReflection_desc, "Core::param_deepReflection_desc", "deep_reflection"},
    {&Core::info_deepReflection_param, "Core::info_deepReflection_param", "[Holvane] deep_reflection : on. IPD : %f mm."},
    {&Core::info_deepReflectionOFF_param, "Core::info_deepReflectionOFF_param", "[Holvane] deep_reflection : off."},
    {&Core::param_glassMode, "Core::param_glassMode", "render_holvane_glass_mode"},
    {&Core::param_glassMode_desc, "Core::param_glassMode_desc", "0: render all / 1: don't render holvane glass / 2: render holvane glass only / 3: render glass and opaque(subframeEnabled)."},
    {&Core::info_glassMode0_param, "Core::info_glassMode0_param", "[Holvane] render_holvane_glass_mode %d :  hlv_* tags are ignored."},
    {&Core::info_glassMode1_param, "Core::info_glassMode1_param", "[Holvane] render_holvane_glass_mode %d : 'opaques' Render paththrough hlv_* tagged surfaces ( or surfaces with BRDFHlvGlass applied in standalone )"},
    {&Core::info_glassMode2_param, "Core::info_glassMode2_param", "[Holvane] render_holvane_glass_mode %d : 'transp' Render only hlv_* tagged surfaces ( or surfaces with BRDFHlvGlass applied in standalone )"},
    {&Core::info_glassMode3_param, "Core::info_glassMode3_param", "[Holvane] render_holvane_glass_mode %d : 'opaques and transp' Combine in one pass the opaques and the tranparencies"},
    {&Core::param_backgroundMask, "Core::param_backgroundMask", "render_background_mask"},
    {&Core::param_backgroundMask_desc, "Core::param_backgroundMask_desc", "Render a spherical background mask seen by the holvane view"},
    {&Core::param_backgroundMask_info, "Core::param_backgroundMask_info", "[Holvane] Background detection mode !"},
    {&Core::param_backgroundMaskDist, "Core::param_backgroundMaskDist", "background_mask_distance"},
    {&Core::param_backgroundMaskDist_desc, "Core::param_backgroundMaskDist_desc", "above this distance samples will be considered to be on the background"},
    {&Core::param_groundDistance, "Core::param_groundDistance", "distance_to_ground"},
    {&Core::param_groundDistance_desc, "Core::param_groundDistance_desc", "the distance from the zov to the ground in meters"},
    {&Core::param_renderInsideZov, "Core::param_renderInsideZov", "render_inside_zov"},
    {&Core::param_phaseMode, "Core::param_phaseMode", "phase_mode"},
    {&Core::param_detectFile, "Core::param_detectFile", "detect_file"},
    {&Core::param_renderInsideZov_desc, "Core::param_renderInsideZov_desc", "Render objects inside the zone of view"},
    {&Core::info_renderInsideZov_param, "Core::info_renderInsideZov_param", "[Holvane] render_inside_zov %s"},
    {&Core::param_clipping_enable, "Core::param_clipping_enable", "clipping_enable"},
    {&Core::param_clipping_enable_desc, "Core::param_clipping_enable_desc", "enable a clipping sphere (will include/exclude anything inside/outside the sphere)"},
    {&Core::param_clipping_position, "Core::param_clipping_position", "clipping_position"},
    {&Core::param_clipping_position_desc, "Core::param_clipping_position_desc", "position of the clipping sphere (in world position)"},
    {&Core::param_clipping_radius, "Core::param_clipping_radius", "clipping_radius"},
    {&Core::param_clipping_radius_desc, "Core::param_clipping_radius_desc", "radius of the clipping sphere"},
    {&Core::param_clipping_inside, "Core::param_clipping_inside", "clipping_inside"},
    {&Core::param_clipping_inside_desc, "Core::param_clipping_inside_desc", "if 1, everything inside the sphere will be ignored, else everything outside will be ignored"},
    {&Core::param_tolerance, "Core::param_tolerance", "tolerance"},
    {&Core::param_tolerance_desc, "Core::param_tolerance_desc", "allowance on the viewpoint, 0.25 by default (25% allowance)"},
    {&Core::param_phaseMode_desc, "Core::param_phaseMode_desc", "Detection or Rendering Phase"},
    {&Core::param_detectFile_desc, "Core::param_detectFile_desc", "the detection file path is usefull during the rendering phase"},
    {&Core::ON, "Core::ON", "On"},
    {&Core::OFF, "Core::OFF", "Off"},
    {&Vray::Holvane_stdPluginName, "Vray::Holvane_stdPluginName", "SettingsHolvane"},
    {&Vray::Holvane_stdPluginDesc, "Vray::Holvane_stdPluginDesc", "Vray Holvane plugin"},
    {&Vray::Holvane_stdPluginLibtext, "Vray::Holvane_stdPluginLibtext", "Holvane-specific plugins for V-Ray"},
    {&Vray::Holvane_stdPluginVersion, "Vray::Holvane_stdPluginVersion", "[Holvane] version %s for %s"},
    {&Vray::Holvane_stdPluginBuildDate, "Vray::Holvane_stdPluginBuildDate", "[Holvane] build date %s"},
    {&Vray::warn_increaseFixSubdiv, "Vray::warn_increaseFixSubdiv", "[Holvane] increase the fixed_subdivs to the minimum 4."},
    {&Vray::warn_increaseAdaptativeMinSubdiv, "Vray::warn_increaseAdaptativeMinSubdiv", "[Holvane] increase the adaptive_minRate to the minimum 4."},
    {&Vray::warn_increaseProgressiveMinSubdiv, "Vray::warn_increaseProgressiveMinSubdiv", "[Holvane] increase the minSamplesPerPixel to the minimum 4."},
    {&Vray::warn_setFixedSubdiv, "Vray::warn_setFixedSubdiv", "[Holvane] set the samplerType to fixed_subdivs for the detection pass"},
    {&Vray::warn_disableGI, "Vray::warn_disableGI", "[Holvane] disable gi calculation"},
    {&Vray::warn_removePixelFiltering, "Vray::warn_removePixelFiltering", "[Holvane] switch to box1x1 filtering"},
    {&Vray::warn_noSecondPassInDraft, "Vray::warn_noSecondPassInDraft", "[Holvane] there's no second pass in draft mode."},
    {&Vray::warn_setDefaultCamType, "Vray::warn_setDefaultCamType", "[Holvane] switch to the standard camera type (type 0)"},
    {&Vray::info_passFound, "Vray::info_passFound", "[Holvane] first pass sucessfuly found : %s ."},
    {&Vray::info_directoryCreated, "Vray::info_directoryCreated", "[Holvane] create_directories %s ."},
    {&Vray::info_outputFile, "Vray::info_outputFile", "[Holvane] hlvRender file : %s ."},
    {&Vray::info_renderChannelUsed, "Vray::info_renderChannelUsed", "[Holvane] Use Vray info_renderChannelUsed %d %s ."},
    {&Vray::info_renderPassLoaded, "Vray::info_renderPassLoaded", "[Holvane] %i samples to render (%i samples from filtering)."},
    {&Vray::info_detectPassLoaded, "Vray::info_detectPassLoaded", "[Holvane] samples successfully read (%d) from the detection pass %s ."},
    {&Vray::info_renderPassWrote, "Vray::info_renderPassWrote", "[Holvane] wrote file %s ."},
    {&Vray::info_detectPassWroteSamples, "Vray::info_detectPassWroteSamples", "[Holvane] resolution %d %d, detected samples number : %d."},
    {&Vray::info_renderPassWroteSamples, "Vray::info_renderPassWroteSamples", "[Holvane] resolution %d %d, rendered samples : %d, to re-render samples %i"},
    {&Vray::info_specularPointLocalPosition, "Vray::info_specularPointLocalPosition", "[Holvane] specular point local position : %f %f %f"},
    {&Vray::info_specularPointWorldPosition, "Vray::info_specularPointWorldPosition", "[Holvane] specular point world position : %f %f %f"},
    {&Vray::info_detectHoleMode, "Vray::info_detectHoleMode", "[Holvane] detect_hole_mode : on."},
    {&Vray::err_progressiveNotSupported, "Vray::err_progressiveNotSupported", "[Holvane] progressive sampler is not supported. Please switch V-Ray to bucket rendering."},
    {&Vray::err_adaptativeSubdivNotSupported, "Vray::err_adaptativeSubdivNotSupported", "[Holvane] adaptative subdivision sampler is not supported. Please switch V-Ray to bucket rendering."},
    {&Vray::err_cameraMissingCoordinates, "Vray::err_cameraMissingCoordinates", "[Holvane] invalid camera index from sample %d coordinate(%d, %d)"},
    {&Vray::err_driverMissingCoordinates, "Vray::err_driverMissingCoordinates", "[Holvane] Enable to get rect from region output."},
    {&Vray::err_writeFile, "Vray::err_writeFile", "[Holvane] writing hlvRender file error(%d) %s ."},
    {&Vray::err_loadRenderFile, "Vray::err_loadRenderFile", "[Holvane] invalid hlvRender file error(%d) %s ."},
    {&Vray::err_loadDetectFile, "Vray::err_loadDetectFile", "[Holvane] invalid hlvDetect file error(%d) %s ."},
    {&Vray::err_aspectRatio, "Vray::err_aspectRatio", "[Holvane] the render aspect ratio must be 2.0, got %f instead."},
    {&Vray::err_resolution, "Vray::err_resolution", "[Holvane] the rendering resolution must be beetwen 5790x2895 and 200x100."},
    {&Vray::err_vrayRendererInterface, "Vray::err_vrayRendererInterface", "[Holvane] cannot get the pluginRenderer interface from Vray"},
    {&Vray::err_vrayPluginManager, "Vray::err_vrayPluginManager", "[Holvane] cannot get the pluginManger from the plugin renderer interface."},
    {&Vray::err_createMaterial, "Vray::err_createMaterial", "[Holvane] cannot create new plugin MtlSingleBRDF(%d)"},
    {&Vray::err_createBrdf, "Vray::err_createBrdf", "[Holvane] cannot create new plugin BRDFVRayMtl(%d)"},
    {&Vray::err_passMissing, "Vray::err_passMissing", "[Holvane] first pass file does not exists. %s ."},
    {&Vray::Holvane_stdPluginCopyright, "Vray::Holvane_stdPluginCopyright", "Copyright (c) Holvane. All rights reserved.\n"},
    {&Vray3dsMax::warn_setDefaultOutputPath, "Vray3dsMax::warn_setDefaultOutputPath", "[Holvane] The V-Ray raw image file has not been specified in 3dsmax, defaulting the Holvane outputs to the max project directory: %s"},
    {&Vray3dsMax::err_CoreNotLoaded, "Vray3dsMax::err_CoreNotLoaded", "[Holvane] Could not load Holvane plugin."},
    {&Merger::info_welcome, "Merger::info_welcome", "Holvane Merger.\n"},
    {&Merger::info_OCIO_loadingConfig, "Merger::info_OCIO_loadingConfig", "[OCIO] Loading OCIO config %s\n"},
    {&Merger::info_OCIO_convertingToColorSpace, "Merger::info_OCIO_convertingToColorSpace", "[OCIO] Converting from %s to %s\n"},
    {&Merger::info_OCIO_validColorSpace, "Merger::info_OCIO_validColorSpace", "[OCIO] valid color space %s\n"},
    {&Merger::info_filesFoundOfTypes, "Merger::info_filesFoundOfTypes", "Found %d Holvane files distributed on %d different(s) type(s).\n"},
    {&Merger::info_mergeFrameList, "Merger::info_mergeFrameList", "Merging frame(s) : %s \n"},
    {&Merger::info_goodbye, "Merger::info_goodbye", "Success ! Closing Holvane Merger. \n"},
    {&Merger::info_fileOverwriting, "Merger::info_fileOverwriting", "Overwriting File...\n"},
    {&Merger::info_processingDataForFile, "Merger::info_processingDataForFile", "Processing data for file %s.\n"},
    {&Merger::info_fileExistsSkipProcess, "Merger::info_fileExistsSkipProcess", "Skip merge process for this existing file %s.\n"},
    {&Merger::info_fileWriting, "Merger::info_fileWriting", "Writing File...\n"},
    {&Merger::info_compressingSize, "Merger::info_compressingSize", "Filtering...\n"},
    {&Merger::info_fileWrote, "Merger::info_fileWrote", "file wrote %s .\n"},
    {&Merger::info_hlvRenderEmpty, "Merger::info_hlvRenderEmpty", "No sample in this file %s\n"},
    {&Merger::info_assemblySamples, "Merger::info_assemblySamples", "Assembly total samples read %d \n"},
    {&Merger::info_overallProgression, "Merger::info_overallProgression", "[% 3d%%] Overall progression. %d / %d of Zov processed.\n"},
    {&Merger::info_sortingData, "Merger::info_sortingData", "Sorting...\n"},
    {&Merger::warn_assembly, "Merger::warn_assembly", "something went wrong during the hlvRender assembly.\n"},
    {&Merger::warn_assemblyEmpty, "Merger::warn_assemblyEmpty", "Empty assembly. Skiping merge process for %s.\n"},
    {&Merger::warn_OCIOunexistingRelativePath, "Merger::warn_OCIOunexistingRelativePath", "[OCIO] The file path %s relative to HolvaneMerger executable doesn't exist. \n"},
    {&Merger::err_optParsing, "Merger::err_optParsing", "Unable to parse command arguments\n"},
    {&Merger::err_OCIO, "Merger::err_OCIO", "[OCIO] Unable to load OCIO config\n  Please provide a path to a valid OCIO config with the command line argument %s,\n  Or Set the OCIO env variable to a valid OCIO config,\n  Or run the Holvane_Merger.exe from its install location.\n"},
    {&Merger::err_OCIO_missingLinearColorSpace, "Merger::err_OCIO_missingLinearColorSpace", "[OCIO] Need a linear color space to convert from.\n"},
    {&Merger::err_OCIO_missingColorSpace, "Merger::err_OCIO_missingColorSpace", "[OCIO] %s color space missing.\n"},
    {&Merger::err_inputPath, "Merger::err_inputPath", "Input path %s doesnt exists.\n"},
    {&Merger::err_inputPathInvalid, "Merger::err_inputPathInvalid", "Input path %s must be a directory\n"},
    {&Merger::err_inputPathEmpty, "Merger::err_inputPathEmpty", "There's no Holvane file to merge inside %s\n"},
    {&Merger::err_goodbye, "Merger::err_goodbye", "Somthing went wrong drong the process...Closing Holvane Merger. \n"},
    {&Merger::err_fileWriting, "Merger::err_fileWriting", "An error(%d) occured during the writing process of %s\n"},
    {&Merger::err_readfileCode, "Merger::err_readfileCode", "File read error(%d) %s .\n"},
    {&Merger::err_AOVDeepReflectionMissing, "Merger::err_AOVDeepReflectionMissing", "AOV for deepReflection is missing in %s .\n"},
    {&Merger::err_renderingEngineMissmatch, "Merger::err_renderingEngineMissmatch", "Unable to merge file coming from different rendering engines.\n"},
    {&Merger::opt_overview_desc, "Merger::opt_overview_desc", "Holvane Merger.exe"},
    {&Merger::opt_example_desc, "Merger::opt_example_desc", "holvane_merger.exe \\path\tomyImagehlvRender -r 0,0 --output \\path\tomyImagehlvRender.hlv --zovOffset 0,0,0 -x -l 2 -lift 0.1,0.05,0.0"},
    {&Merger::opt_input, "Merger::opt_input", "input"},
    {&Merger::opt_input_desc, "Merger::opt_input_desc", "root directory path to the input hlvRenders"},
    {&Merger::opt_output, "Merger::opt_output", "--output"},
    {&Merger::opt_output_desc, "Merger::opt_output_desc", "path to the output of the hlv file"},
    {&Merger::opt_frameRange, "Merger::opt_frameRange", "-r"},
    {&Merger::opt_frameRange_desc, "Merger::opt_frameRange_desc", "Frame range"},
    {&Merger::opt_lift, "Merger::opt_lift", "--lift"},
    {&Merger::opt_lift_desc, "Merger::opt_lift_desc", "if present, will lift the image by these values. Applied before OCIO conversion. (default: 0.0 0.0 0.0)"},
    {&Merger::opt_gain, "Merger::opt_gain", "--gain"},
    {&Merger::opt_gain_desc, "Merger::opt_gain_desc", "if present, will multiply the image by these values. Applied before OCIO conversion. (default: 1.0 1.0 1.0)"},
    {&Merger::opt_pow, "Merger::opt_pow", "--pow"},
    {&Merger::opt_pow_desc, "Merger::opt_pow_desc", "if present, will apply a power of these values to the image. Applied before OCIO conversion. (default: 1.0 1.0 1.0)"},
    {&Merger::opt_vfbPreset, "Merger::opt_vfbPreset", "--VFBPreset"},
    {&Merger::opt_vfb_vray_preset_desc, "Merger::opt_vfb_vray_preset_desc", "Path to a Vray VFB preset file."},
    {&Merger::opt_ocioConfig, "Merger::opt_ocioConfig", "--OCIOconfig"},
    {&Merger::opt_ocioConfig_desc, "Merger::opt_ocioConfig_desc", "Path to an OCIO config file."},
    {&Merger::opt_applyColorSpaceFrom, "Merger::opt_applyColorSpaceFrom", "--applyColorSpaceFrom"},
    {&Merger::opt_applyColorSpaceFrom_desc, "Merger::opt_applyColorSpaceFrom_desc", "Define the original colorspace of an image (default: linear)"},
    {&Merger::opt_applyColorSpaceTo, "Merger::opt_applyColorSpaceTo", "--applyColorSpaceTo"},
    {&Merger::opt_applyColorSpaceTo_desc, "Merger::opt_applyColorSpaceTo_desc", "Apply this colorspace transform to an image (default: linear)"},
    {&Merger::opt_minDist, "Merger::opt_minDist", "--mindist"},
    {&Merger::opt_minDist_desc, "Merger::opt_minDist_desc", "if present, Overwrite the mimimal Z distance in the file (default 0)"},
    {&Merger::opt_maxDist, "Merger::opt_maxDist", "--maxDist"},
    {&Merger::opt_maxDist_desc, "Merger::opt_maxDist_desc", "if present, Overwrite the maximum Z distance in the file(default 1e30)"},
    {&Merger::opt_colorTolerance, "Merger::opt_colorTolerance", "--colorTolerance"},
    {&Merger::opt_colorTolerance_desc, "Merger::opt_colorTolerance_desc", "if present, Overwrite tolerance when merging. Higher = Merge more"},
    {&Merger::opt_normalTolerance, "Merger::opt_normalTolerance", "--normalTolerance"},
    {&Merger::opt_normalTolerance_desc, "Merger::opt_normalTolerance_desc", "if present, Overwrite tolerance when merging. Lower = Merge more"},
    {&Merger::opt_planeTolerance, "Merger::opt_planeTolerance", "--planeTolerance"},
    {&Merger::opt_planeTolerance_desc, "Merger::opt_planeTolerance_desc", "specifies the verbose level of information printed to the standard output. (default : 3)"},
    {&Merger::opt_mergeHypertangent, "Merger::opt_mergeHypertangent", "--mergeHypertangent"},
    {&Merger::opt_mergeHypertangent_desc, "Merger::opt_mergeHypertangent_desc", "if present, Does not take the tangency factor for merging. (Merge more)"},
    {&Merger::opt_verboseLevel, "Merger::opt_verboseLevel", "-l"},
    {&Merger::opt_verboseLevel_desc, "Merger::opt_verboseLevel_desc", "specifies the verbose level of information printed to the standard output. (default : 3)"},
    {&Merger::opt_overwrite, "Merger::opt_overwrite", "-x"},
    {&Merger::opt_overwrite_desc, "Merger::opt_overwrite_desc", "if present, overwrite existing hlv"},
};

WideText const kWide[] = {
    {&Vray3dsMax::param_viewMode_tooltip, "Vray3dsMax::param_viewMode_tooltip", L"IS NOT IMPLEMENTED"},
    {&Vray3dsMax::param_enabled_tooltip, "Vray3dsMax::param_enabled_tooltip", L"Enable Holvane"},
    {&Vray3dsMax::param_renderScale_tooltip, "Vray3dsMax::param_renderScale_tooltip", L"Scales the entire max scene around the zone of view. This may answer the question, how many cm represents a max system unit. "},
    {&Vray3dsMax::param_viewScale_tooltip, "Vray3dsMax::param_viewScale_tooltip", L"Modify the ZOV size in VR"},
    {&Vray3dsMax::param_groundDistanceDisplay_tooltip, "Vray3dsMax::param_groundDistanceDisplay_tooltip", L"show the zov ground in 3dsMax"},
    {&Vray3dsMax::param_groundDistance_tooltip, "Vray3dsMax::param_groundDistance_tooltip", L"The zone of view altitude to the ground in the Holvane player."},
    {&Vray3dsMax::param_draft_tooltip, "Vray3dsMax::param_draft_tooltip", L"Render in draft mode. It is one pass rendering fast but does not render the scene entirely."},
    {&Vray3dsMax::param_deepReflection_tooltip, "Vray3dsMax::param_deepReflection_tooltip", L"Render with deep reflections according the IPD. Accuracy for view-dependent material. (stereoscopic effect)"},
    {&Vray3dsMax::param_IPD_tooltip, "Vray3dsMax::param_IPD_tooltip", L"Inter pupillary distance, Distance between the eyes, default 63.50mm"},
    {&Vray3dsMax::param_lightVisibilityOverrideEnable_tooltip, "Vray3dsMax::param_lightVisibilityOverrideEnable_tooltip", L"Enable light visibility override"},
    {&Vray3dsMax::param_lightVisibilityOverride_tooltip, "Vray3dsMax::param_lightVisibilityOverride_tooltip", L"select the light visibilty"},
    {&Vray3dsMax::param_glassModeEnable_tooltip, "Vray3dsMax::param_glassModeEnable_tooltip", L"Enable glass rendering"},
    {&Vray3dsMax::param_glassMode_tooltip, "Vray3dsMax::param_glassMode_tooltip", L"Switch to one of the 2 passes you need for a glass render. This parameter must be used in conjunction with the hlv_glass_IOR V-ray_user_attribute"},
    {&Vray3dsMax::param_boxOffsetRight_tooltip, "Vray3dsMax::param_boxOffsetRight_tooltip", L"side axis"},
    {&Vray3dsMax::param_boxOffsetTop_tooltip, "Vray3dsMax::param_boxOffsetTop_tooltip", L"up axis"},
    {&Vray3dsMax::param_boxOffsetBack_tooltip, "Vray3dsMax::param_boxOffsetBack_tooltip", L"front axis"},
    {&Vray3dsMax::param_specOffset_tooltip, "Vray3dsMax::param_specOffset_tooltip", L"Move the specular point. This is the most accurate point of view in Holvane. Usefull to move it for a Multibox rendering"},
    {&Vray3dsMax::param_subframe_tooltip, "Vray3dsMax::param_subframe_tooltip", L"Two pass render."},
    {&Vray3dsMax::param_camId_tooltip, "Vray3dsMax::param_camId_tooltip", L"A holvanE rendering produces 18 files. There are 9 primary camera passes and 9 secondaries. Render each camera id with its secondary pass. When subframe is on, the rendering is split in two passes only."},
    {&Vray3dsMax::param_secondPass_tooltip, "Vray3dsMax::param_secondPass_tooltip", L"First/second rendering pass mode"},
    {&Vray3dsMax::param_phaseMode_tooltip, "Vray3dsMax::param_phaseMode_tooltip", L"These parameters can be set to render directly with the Vray render button.\nThe detect phase produces a file which will be loaded in the render phase."},
    {&Vray3dsMax::param_hlvDetectFile_tooltip, "Vray3dsMax::param_hlvDetectFile_tooltip", L"The HlvDetect file can be re-used for the rendering phase if the Geometry, the resolution or the camera settings do not change."},
    {&Vray3dsMax::param_renderInsideZov_tooltip, "Vray3dsMax::param_renderInsideZov_tooltip", L"Render objects inside the zone of view"},
};

}  // namespace
TEST(TextTables, EveryTextIsExactlyWhatHostsExpect)
{
    EXPECT_EQ(sizeof kNarrow / sizeof kNarrow[0] + sizeof kWide / sizeof kWide[0], 223u);
    for (auto const& entry : kNarrow) {
        ASSERT_NE(*entry.member, nullptr) << entry.name;
        EXPECT_STREQ(*entry.member, entry.text) << entry.name;
    }
    for (auto const& entry : kWide) {
        ASSERT_NE(*entry.member, nullptr) << entry.name;
        EXPECT_EQ(std::wcscmp(*entry.member, entry.text), 0) << entry.name;
    }
}

TEST(TextTables, DeliberateRepeatsAreKept)
{
    EXPECT_NE(&Core::param_viewMode, &Core::param_renderInsideZov);
    EXPECT_STREQ(Core::param_viewMode, Core::param_renderInsideZov);
    EXPECT_STREQ(Core::param_deepReflection_desc, Core::param_deepReflection);
    EXPECT_STREQ(Merger::opt_planeTolerance_desc, Merger::opt_verboseLevel_desc);
    EXPECT_STREQ(Merger::info_compressingSize, "Filtering...\n");
    // The merger's example line keeps its literal escapes: "\t" is a tab and the other backslashes vanish.
    EXPECT_NE(std::strchr(Merger::opt_example_desc, '\t'), nullptr);
}

TEST(TextTables, CopyrightIsOneLineEndingInALineFeed)
{
    std::size_t length = std::strlen(Vray::Holvane_stdPluginCopyright);
    ASSERT_GT(length, 1u);
    EXPECT_EQ(Vray::Holvane_stdPluginCopyright[length - 1], '\n');
    EXPECT_EQ(std::strchr(Vray::Holvane_stdPluginCopyright, '\n'), Vray::Holvane_stdPluginCopyright + length - 1);
}

TEST(TextTables, AssignmentReturnsTheObject)
{
    Core a, b;
    Vray c, d;
    Vray3dsMax e, f;
    Merger g, h;
    EXPECT_EQ(&(a = b), &a);
    EXPECT_EQ(&(a = Core()), &a);
    EXPECT_EQ(&(c = d), &c);
    EXPECT_EQ(&(c = Vray()), &c);
    EXPECT_EQ(&(e = f), &e);
    EXPECT_EQ(&(e = Vray3dsMax()), &e);
    EXPECT_EQ(&(g = h), &g);
    EXPECT_EQ(&(g = Merger()), &g);
}

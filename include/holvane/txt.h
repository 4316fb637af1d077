#ifndef HOLVANE_TXT_H
#define HOLVANE_TXT_H

#include <holvane/export.h>

// The shared vocabulary of every host: parameter keys and descriptions, log formats and messages, and the
// command line of the merger. Texts are kept exactly as hosts already show them, mistakes included:
// Core::param_viewMode and Core::param_renderInsideZov hold the same key, Core::param_deepReflection_desc
// repeats its key, Merger::info_compressingSize says "Filtering...", Merger::opt_planeTolerance_desc carries
// the verbosity text, and Merger::opt_example_desc names options the merger does not have.

namespace Holvane {
namespace TXT {
inline namespace v2_0 {

class HV_API Core {
public:
    static char const* const param_enabled;
    static char const* const param_enabled_desc;
    static char const* const info_enabled_param;
    static char const* const param_subframe;
    static char const* const param_subframe_desc;
    static char const* const info_subframe_param;
    static char const* const param_motionvectors;
    static char const* const param_motionvectors_desc;
    static char const* const param_camId;
    static char const* const param_camId_desc;
    static char const* const param_secondPass;
    static char const* const param_secondPass_desc;
    static char const* const info_camId_secondPass_param;
    static char const* const param_viewMode;
    static char const* const param_viewMode_desc;
    static char const* const info_viewBox_param;
    static char const* const info_viewWindow_param;
    static char const* const param_boxOffsetRight;
    static char const* const param_boxOffsetRight_desc;
    static char const* const param_boxOffsetTop;
    static char const* const param_boxOffsetTop_desc;
    static char const* const param_boxOffsetBack;
    static char const* const param_boxOffsetBack_desc;
    static char const* const info_boxOffset_param;
    static char const* const param_viewScaleLength;
    static char const* const param_viewScaleLength_desc;
    static char const* const param_viewScaleHeight;
    static char const* const param_viewScaleHeight_desc;
    static char const* const param_viewScaleDepth;
    static char const* const param_viewScaleDepth_desc;
    static char const* const info_viewScaleZov_param;
    static char const* const info_viewScaleWindow_param;
    static char const* const param_IPD;
    static char const* const param_IPD_desc;
    static char const* const param_draft;
    static char const* const param_draft_desc;
    static char const* const info_draft_param;
    static char const* const param_lightVisibility;
    static char const* const param_lightVisibility_desc;
    static char const* const info_lightVisibility0_param;
    static char const* const info_lightVisibility1_param;
    static char const* const info_lightVisibility2_param;
    static char const* const param_specOffsetRight;
    static char const* const param_specOffsetRight_desc;
    static char const* const param_specOffsetTop;
    static char const* const param_specOffsetTop_desc;
    static char const* const param_specOffsetBack;
    static char const* const param_specOffsetBack_desc;
    static char const* const info_specOffsetBack_param;
    static char const* const param_renderScale;
    static char const* const param_renderScale_desc;
    static char const* const info_renderScale_param;
    static char const* const param_deepReflection;
    static char const* const param_deepReflection_desc;
    static char const* const info_deepReflection_param;
    static char const* const info_deepReflectionOFF_param;
    static char const* const param_glassMode;
    static char const* const param_glassMode_desc;
    static char const* const info_glassMode0_param;
    static char const* const info_glassMode1_param;
    static char const* const info_glassMode2_param;
    static char const* const info_glassMode3_param;
    static char const* const param_backgroundMask;
    static char const* const param_backgroundMask_desc;
    static char const* const param_backgroundMask_info;
    static char const* const param_backgroundMaskDist;
    static char const* const param_backgroundMaskDist_desc;
    static char const* const param_groundDistance;
    static char const* const param_groundDistance_desc;
    static char const* const param_renderInsideZov;
    static char const* const param_phaseMode;
    static char const* const param_detectFile;
    static char const* const param_renderInsideZov_desc;
    static char const* const info_renderInsideZov_param;
    static char const* const param_clipping_enable;
    static char const* const param_clipping_enable_desc;
    static char const* const param_clipping_position;
    static char const* const param_clipping_position_desc;
    static char const* const param_clipping_radius;
    static char const* const param_clipping_radius_desc;
    static char const* const param_clipping_inside;
    static char const* const param_clipping_inside_desc;
    static char const* const param_tolerance;
    static char const* const param_tolerance_desc;
    static char const* const param_phaseMode_desc;
    static char const* const param_detectFile_desc;
    static char const* const ON;
    static char const* const OFF;

    // Construction stays compiler-made: declaring the assignments alone would delete the copy constructor.
    Core() = default;
    Core(Core const&) = default;
    Core(Core&&) = default;

    // Exported as hosts link them; they copy nothing, since the class has no state.
    Core& operator=(Core const& other);
    Core& operator=(Core&& other);
};

class HV_API Vray {
public:
    static char const* const Holvane_stdPluginName;
    static char const* const Holvane_stdPluginDesc;
    static char const* const Holvane_stdPluginLibtext;
    static char const* const Holvane_stdPluginVersion;
    static char const* const Holvane_stdPluginBuildDate;
    static char const* const warn_increaseFixSubdiv;
    static char const* const warn_increaseAdaptativeMinSubdiv;
    static char const* const warn_increaseProgressiveMinSubdiv;
    static char const* const warn_setFixedSubdiv;
    static char const* const warn_disableGI;
    static char const* const warn_removePixelFiltering;
    static char const* const warn_noSecondPassInDraft;
    static char const* const warn_setDefaultCamType;
    static char const* const info_passFound;
    static char const* const info_directoryCreated;
    static char const* const info_outputFile;
    static char const* const info_renderChannelUsed;
    static char const* const info_renderPassLoaded;
    static char const* const info_detectPassLoaded;
    static char const* const info_renderPassWrote;
    static char const* const info_detectPassWroteSamples;
    static char const* const info_renderPassWroteSamples;
    static char const* const info_specularPointLocalPosition;
    static char const* const info_specularPointWorldPosition;
    static char const* const info_detectHoleMode;
    static char const* const err_progressiveNotSupported;
    static char const* const err_adaptativeSubdivNotSupported;
    static char const* const err_cameraMissingCoordinates;
    static char const* const err_driverMissingCoordinates;
    static char const* const err_writeFile;
    static char const* const err_loadRenderFile;
    static char const* const err_loadDetectFile;
    static char const* const err_aspectRatio;
    static char const* const err_resolution;
    static char const* const err_vrayRendererInterface;
    static char const* const err_vrayPluginManager;
    static char const* const err_createMaterial;
    static char const* const err_createBrdf;
    static char const* const err_passMissing;
    static char const* const Holvane_stdPluginCopyright;

    // Construction stays compiler-made: declaring the assignments alone would delete the copy constructor.
    Vray() = default;
    Vray(Vray const&) = default;
    Vray(Vray&&) = default;

    // Exported as hosts link them; they copy nothing, since the class has no state.
    Vray& operator=(Vray const& other);
    Vray& operator=(Vray&& other);
};

class HV_API Vray3dsMax {
public:
    static wchar_t const* const param_viewMode_tooltip;
    static wchar_t const* const param_enabled_tooltip;
    static wchar_t const* const param_renderScale_tooltip;
    static wchar_t const* const param_viewScale_tooltip;
    static wchar_t const* const param_groundDistanceDisplay_tooltip;
    static wchar_t const* const param_groundDistance_tooltip;
    static wchar_t const* const param_draft_tooltip;
    static wchar_t const* const param_deepReflection_tooltip;
    static wchar_t const* const param_IPD_tooltip;
    static wchar_t const* const param_lightVisibilityOverrideEnable_tooltip;
    static wchar_t const* const param_lightVisibilityOverride_tooltip;
    static wchar_t const* const param_glassModeEnable_tooltip;
    static wchar_t const* const param_glassMode_tooltip;
    static wchar_t const* const param_boxOffsetRight_tooltip;
    static wchar_t const* const param_boxOffsetTop_tooltip;
    static wchar_t const* const param_boxOffsetBack_tooltip;
    static wchar_t const* const param_specOffset_tooltip;
    static wchar_t const* const param_subframe_tooltip;
    static wchar_t const* const param_camId_tooltip;
    static wchar_t const* const param_secondPass_tooltip;
    static wchar_t const* const param_phaseMode_tooltip;
    static wchar_t const* const param_hlvDetectFile_tooltip;
    static wchar_t const* const param_renderInsideZov_tooltip;
    // Only the tooltips are wide: the host's two log messages are 8-bit like every other message.
    static char const* const warn_setDefaultOutputPath;
    static char const* const err_CoreNotLoaded;

    // Construction stays compiler-made: declaring the assignments alone would delete the copy constructor.
    Vray3dsMax() = default;
    Vray3dsMax(Vray3dsMax const&) = default;
    Vray3dsMax(Vray3dsMax&&) = default;

    // Exported as hosts link them; they copy nothing, since the class has no state.
    Vray3dsMax& operator=(Vray3dsMax const& other);
    Vray3dsMax& operator=(Vray3dsMax&& other);
};

class HV_API Merger {
public:
    static char const* const info_welcome;
    static char const* const info_OCIO_loadingConfig;
    static char const* const info_OCIO_convertingToColorSpace;
    static char const* const info_OCIO_validColorSpace;
    static char const* const info_filesFoundOfTypes;
    static char const* const info_mergeFrameList;
    static char const* const info_goodbye;
    static char const* const info_fileOverwriting;
    static char const* const info_processingDataForFile;
    static char const* const info_fileExistsSkipProcess;
    static char const* const info_fileWriting;
    static char const* const info_compressingSize;
    static char const* const info_fileWrote;
    static char const* const info_hlvRenderEmpty;
    static char const* const info_assemblySamples;
    static char const* const info_overallProgression;
    static char const* const info_sortingData;
    static char const* const warn_assembly;
    static char const* const warn_assemblyEmpty;
    static char const* const warn_OCIOunexistingRelativePath;
    static char const* const err_optParsing;
    static char const* const err_OCIO;
    static char const* const err_OCIO_missingLinearColorSpace;
    static char const* const err_OCIO_missingColorSpace;
    static char const* const err_inputPath;
    static char const* const err_inputPathInvalid;
    static char const* const err_inputPathEmpty;
    static char const* const err_goodbye;
    static char const* const err_fileWriting;
    static char const* const err_readfileCode;
    static char const* const err_AOVDeepReflectionMissing;
    static char const* const err_renderingEngineMissmatch;
    static char const* const opt_overview_desc;
    static char const* const opt_example_desc;
    static char const* const opt_input;
    static char const* const opt_input_desc;
    static char const* const opt_output;
    static char const* const opt_output_desc;
    static char const* const opt_frameRange;
    static char const* const opt_frameRange_desc;
    static char const* const opt_lift;
    static char const* const opt_lift_desc;
    static char const* const opt_gain;
    static char const* const opt_gain_desc;
    static char const* const opt_pow;
    static char const* const opt_pow_desc;
    static char const* const opt_vfbPreset;
    static char const* const opt_vfb_vray_preset_desc;
    static char const* const opt_ocioConfig;
    static char const* const opt_ocioConfig_desc;
    static char const* const opt_applyColorSpaceFrom;
    static char const* const opt_applyColorSpaceFrom_desc;
    static char const* const opt_applyColorSpaceTo;
    static char const* const opt_applyColorSpaceTo_desc;
    static char const* const opt_minDist;
    static char const* const opt_minDist_desc;
    static char const* const opt_maxDist;
    static char const* const opt_maxDist_desc;
    static char const* const opt_colorTolerance;
    static char const* const opt_colorTolerance_desc;
    static char const* const opt_normalTolerance;
    static char const* const opt_normalTolerance_desc;
    static char const* const opt_planeTolerance;
    static char const* const opt_planeTolerance_desc;
    static char const* const opt_mergeHypertangent;
    static char const* const opt_mergeHypertangent_desc;
    static char const* const opt_verboseLevel;
    static char const* const opt_verboseLevel_desc;
    static char const* const opt_overwrite;
    static char const* const opt_overwrite_desc;

    // Construction stays compiler-made: declaring the assignments alone would delete the copy constructor.
    Merger() = default;
    Merger(Merger const&) = default;
    Merger(Merger&&) = default;

    // Exported as hosts link them; they copy nothing, since the class has no state.
    Merger& operator=(Merger const& other);
    Merger& operator=(Merger&& other);
};

}  // namespace v2_0
}  // namespace TXT
}  // namespace Holvane

#endif

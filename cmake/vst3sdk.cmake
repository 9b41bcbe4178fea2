# The Steinberg VST3 SDK as Debian ships it in juce-modules-source-data,
# built as a static library. Its own warnings are silenced: it is not ours.
set(VST3_SDK_ROOT "/usr/share/juce/modules/juce_audio_processors/format_types/VST3_SDK"
    CACHE PATH "Root of the VST3 SDK sources")
if(NOT EXISTS "${VST3_SDK_ROOT}/pluginterfaces/base/funknown.h")
    message(FATAL_ERROR "VST3 SDK not found at ${VST3_SDK_ROOT}: run scripts/install-deps.sh")
endif()

add_library(vst3sdk STATIC
    ${VST3_SDK_ROOT}/pluginterfaces/base/conststringtable.cpp
    ${VST3_SDK_ROOT}/pluginterfaces/base/coreiids.cpp
    ${VST3_SDK_ROOT}/pluginterfaces/base/funknown.cpp
    ${VST3_SDK_ROOT}/pluginterfaces/base/ustring.cpp
    ${VST3_SDK_ROOT}/base/source/baseiids.cpp
    ${VST3_SDK_ROOT}/base/source/fbuffer.cpp
    ${VST3_SDK_ROOT}/base/source/fdebug.cpp
    ${VST3_SDK_ROOT}/base/source/fobject.cpp
    ${VST3_SDK_ROOT}/base/source/fstreamer.cpp
    ${VST3_SDK_ROOT}/base/source/fstring.cpp
    ${VST3_SDK_ROOT}/base/source/updatehandler.cpp
    ${VST3_SDK_ROOT}/base/thread/source/flock.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/common/memorystream.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/common/pluginview.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/vstbus.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/vstcomponent.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/vstcomponentbase.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/vsteditcontroller.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/vstinitiids.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/vstparameters.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/hosting/hostclasses.cpp
    ${VST3_SDK_ROOT}/public.sdk/source/vst/hosting/pluginterfacesupport.cpp
)
target_include_directories(vst3sdk SYSTEM PUBLIC ${VST3_SDK_ROOT})
target_compile_definitions(vst3sdk PUBLIC RELEASE=1)
target_compile_options(vst3sdk PRIVATE -w)
# Compiled as it comes: a link-time optimisation would warn about its code at
# every link that pulls it in.
set_target_properties(vst3sdk PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF)
find_package(Threads REQUIRED)
target_link_libraries(vst3sdk PUBLIC Threads::Threads ${CMAKE_DL_LIBS})

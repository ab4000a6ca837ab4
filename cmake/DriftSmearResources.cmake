# The plug-in's resources. Windows builds take them from the resource script
# in effect/resources; other platforms link the same files into the module as
# byte arrays, generated at build time.
set(DRIFTSMEAR_RESOURCE_DIR ${CMAKE_SOURCE_DIR}/ui/resources)
set(DRIFTSMEAR_ABOUT_IMAGE ${DRIFTSMEAR_RESOURCE_DIR}/DriftSmear_About.png)

function(driftsmear_embed_resources target)
  if(WIN32)
    return()
  endif()
  set(output ${CMAKE_BINARY_DIR}/generated/DriftSmear_Resources.cpp)
  # type 255, id 254: the about image.
  set(resources "255:254:${DRIFTSMEAR_ABOUT_IMAGE}")
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} "-DRESOURCES=${resources}"
            -P ${CMAKE_SOURCE_DIR}/cmake/EmbedResources.cmake
    DEPENDS ${DRIFTSMEAR_ABOUT_IMAGE} ${CMAKE_SOURCE_DIR}/cmake/EmbedResources.cmake
    COMMENT "Linking the plug-in's resources into the module"
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
endfunction()

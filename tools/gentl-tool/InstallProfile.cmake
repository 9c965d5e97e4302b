# Install step: writes gentl.sh, the shell profile snippet that adds the installed producer's
# folder to GENICAM_GENTL64_PATH, and prints its line. Runs with CMAKE_INSTALL_PREFIX set to the
# prefix of this installation and GENTL_PRODUCER_DIR, GENTL_DATA_DIR and GENTL_STAGING_DIR set
# by the install rule before it.
function(gentl_absolute out path)
  if(IS_ABSOLUTE "${path}")
    set(${out} "${path}" PARENT_SCOPE)
  else()
    set(${out} "${CMAKE_INSTALL_PREFIX}/${path}" PARENT_SCOPE)
  endif()
endfunction()

gentl_absolute(producer_dir "${GENTL_PRODUCER_DIR}")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(profile_dir "/etc/profile.d")
else()
  gentl_absolute(profile_dir "${GENTL_DATA_DIR}")
endif()

set(line "export GENICAM_GENTL64_PATH=${producer_dir}\${GENICAM_GENTL64_PATH:+:\$GENICAM_GENTL64_PATH}")
file(WRITE "${GENTL_STAGING_DIR}/gentl.sh"
  "# Lets GenTL consumers find the Vantora GenTL producer (gentl.cti).\n${line}\n")
file(INSTALL DESTINATION "${profile_dir}" TYPE FILE FILES "${GENTL_STAGING_DIR}/gentl.sh")
message("GenTL consumers find gentl.cti through GENICAM_GENTL64_PATH. ${profile_dir}/gentl.sh "
  "sets it; source it or add this line to your shell profile:\n  ${line}")

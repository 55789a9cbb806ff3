# The project's version where Windows shows it: the version resource (VERSIONINFO) of tovport.dll
# and tovport.exe, which Explorer shows in a file's properties and installers compare, and the
# installer's own (packaging/windows/tovport.nsi includes tovport-version.nsh).
set(TOVPORT_VERSION_QUAD "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH}.0")
string(REPLACE "." "," TOVPORT_RC_VERSION ${TOVPORT_VERSION_QUAD})
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/tovport-version.nsh @ONLY CONTENT [[
!define TOVPORT_VERSION "@PROJECT_VERSION@"
!define TOVPORT_VERSION_QUAD "@TOVPORT_VERSION_QUAD@"
!define TOVPORT_PUBLISHER "@TOVPORT_PUBLISHER@"
]])

# tovport_version_resource(TARGET FILE DESCRIPTION [STRING_VALUE_LINE...])
function(tovport_version_resource target file description)
  set(TOVPORT_RC_FILE ${file})
  get_filename_component(TOVPORT_RC_NAME ${file} NAME_WE)
  if(file MATCHES "\\.dll$")
    set(TOVPORT_RC_FILETYPE VFT_DLL)
  else()
    set(TOVPORT_RC_FILETYPE VFT_APP)
  endif()
  set(TOVPORT_RC_DESCRIPTION ${description})
  list(JOIN ARGN "\n" TOVPORT_RC_EXTRA)
  set(rc ${PROJECT_BINARY_DIR}/version/${file}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/src/component/win32/tovport_version.rc.in ${rc} @ONLY)
  target_sources(${target} PRIVATE ${rc})
endfunction()

tovport_version_resource(tovport tovport.dll "tovport automation component (tovComPrtv3)"
  # Tells installers that the DLL registers itself (DllRegisterServer).
  "      VALUE \"OLESelfRegister\", \"\"")
tovport_version_resource(tovport-cli tovport.exe "tovport command-line host")

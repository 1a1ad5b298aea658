# camkit_feature(PREFIX MODULES WITH_REGEX WITHOUT_REGEX MESSAGE)
#
# Looks for the pkg-config MODULES (a ;-list) as PREFIX.  When they are found
# the sources matching WITHOUT_REGEX (the fallback) leave CAMKIT_SOURCES and
# the imported target joins CAMKIT_FEATURE_LIBS; otherwise the sources
# matching WITH_REGEX leave and MESSAGE says what the build cannot do.
# A macro, so that PREFIX_FOUND and the other pkg-config results stay
# visible to the caller.
macro(camkit_feature prefix modules with_regex without_regex message_text)
  if(PKG_CONFIG_FOUND)
    pkg_check_modules(${prefix} IMPORTED_TARGET ${modules})
  endif()
  if(${prefix}_FOUND)
    list(FILTER CAMKIT_SOURCES EXCLUDE REGEX "${without_regex}")
    list(APPEND CAMKIT_FEATURE_LIBS PkgConfig::${prefix})
    list(APPEND CAMKIT_FEATURE_MODULES ${modules})
    # PREFIX|module,module: the installed package config recreates the
    # imported target for static consumers.
    string(REPLACE ";" "," _camkit_feature_modules "${modules}")
    list(APPEND CAMKIT_FEATURE_EXPORTS "${prefix}|${_camkit_feature_modules}")
  else()
    message(STATUS "${message_text}")
    list(FILTER CAMKIT_SOURCES EXCLUDE REGEX "${with_regex}")
  endif()
endmacro()

# What the product is called, for files that are not C++: QOV_PRODUCT_name, _maker, _summary, _identifier, _uri, read
# from hosts/instance/product.h, where they are said. The version is PROJECT_VERSION.
set(header ${CMAKE_SOURCE_DIR}/hosts/instance/product.h)
set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
file(READ ${header} text)
foreach(field name maker summary identifier uri)
    if(NOT text MATCHES "constexpr const char\\* ${field} = \"([^\"]+)\";")
        message(FATAL_ERROR "${header} does not say the product's ${field}")
    endif()
    set(QOV_PRODUCT_${field} ${CMAKE_MATCH_1})
endforeach()

# When this version was finished, in seconds since 1970, and as metadata, manual page and package write it.
set(QOV_RELEASED 1795478400)
set(date_of_build "$ENV{SOURCE_DATE_EPOCH}")
set(ENV{SOURCE_DATE_EPOCH} ${QOV_RELEASED})
string(TIMESTAMP QOV_RELEASE_DATE "%Y-%m-%d" UTC)
string(TIMESTAMP QOV_RELEASE_DAY "%B %d, %Y" UTC)
string(TIMESTAMP QOV_RELEASE_TIME "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(ENV{SOURCE_DATE_EPOCH} "${date_of_build}")

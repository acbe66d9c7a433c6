# Fails unless the document contains the exact text of each file.
file(READ ${document} text)
foreach(file IN LISTS quoted)
    file(READ ${file} part)
    string(FIND "${text}" "\n${part}```\n" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "${document} does not show ${file} as it is")
    endif()
endforeach()

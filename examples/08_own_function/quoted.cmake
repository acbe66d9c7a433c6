# Fails unless the document holds each of the files word for word.
file(READ ${document} text)
foreach(file IN LISTS quoted)
    file(READ ${file} part)
    string(FIND "${text}" "\n${part}```\n" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "${document} does not show ${file} as it is")
    endif()
endforeach()

' The night watch: buffer 3. No label has a place of its own, so the buffer follows behind buffer 2.

#org watch_walks 3
walk 4 watch_round
pause 60
call watch_report
goto watch_walks

#org watch_report
say watch_call
bell
return

#org watch_call
=All's well, and the water is high!\end

autocmd BufRead,BufNewFile *.psc,*.psh setfiletype tidewright
